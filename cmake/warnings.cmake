# Warnings, floating-point rules, atomic words, and the sanitizers of SONX_SANITIZE, for every target
# of ours; and how shared libraries are linked.
add_library(sonx_build_flags INTERFACE)
target_compile_options(sonx_build_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow)
# No fused multiply-add: the equalizer's level law, and the designs that tests compare coefficients
# with, give the same bits on every platform.
target_compile_options(sonx_build_flags INTERFACE -ffp-contract=off)
if(SONX_TARGET_AARCH64)
  # In line: the out-of-line ones bring a static constructor with them.
  target_compile_options(sonx_build_flags INTERFACE -mno-outline-atomics)
endif()
if(SONX_WARNINGS_AS_ERRORS)
  target_compile_options(sonx_build_flags INTERFACE -Werror)
endif()
if(SONX_SANITIZE)
  target_compile_options(sonx_build_flags INTERFACE
    -fsanitize=${SONX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(sonx_build_flags INTERFACE -fsanitize=${SONX_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # With the sanitizers' code in between GCC sees unset variables that are set, in <regex> too.
    target_compile_options(sonx_build_flags INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-maybe-uninitialized>)
  endif()
endif()

# What every shared library of ours is linked with: bound as a whole when it is loaded, its tables
# read-only from then on, no executable stack, nothing left for a host to define.
add_library(sonx_shared_flags INTERFACE)
target_link_options(sonx_shared_flags INTERFACE
  -Wl,-z,now -Wl,-z,relro -Wl,-z,noexecstack -Wl,--no-undefined)
if(ANDROID AND CMAKE_SIZEOF_VOID_P EQUAL 8)
  # For phones with pages of 16 KB. Elsewhere the linker's own alignment fits the platform's pages.
  target_link_options(sonx_shared_flags INTERFACE -Wl,-z,max-page-size=16384)
endif()
