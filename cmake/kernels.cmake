# Which of the block kernels are built: those of the processor's instruction set beside the portable
# ones, or with SONX_KERNELS=portable these alone.
include(CheckCXXSymbolExists)
check_cxx_symbol_exists(__x86_64__ "" SONX_TARGET_X86_64)
check_cxx_symbol_exists(__aarch64__ "" SONX_TARGET_AARCH64)

# Leaves in the list `sources` what the target can run, gives the files of an instruction set that
# not every such processor has their flags, and sets `definition` for the choice at run time.
function(sonx_select_kernels sources definition)
  set(selected ${${sources}})
  set(avx2 ${selected})
  set(neon ${selected})
  list(FILTER avx2 INCLUDE REGEX "_avx2\\.cpp$")
  list(FILTER neon INCLUDE REGEX "_neon\\.cpp$")
  list(FILTER selected EXCLUDE REGEX "_(avx2|neon)\\.cpp$")

  set(found)
  if(NOT SONX_KERNELS STREQUAL "portable")
    if(SONX_TARGET_X86_64)
      list(APPEND selected ${avx2})
      set_source_files_properties(${avx2} PROPERTIES COMPILE_OPTIONS -mavx2)
      set(found SONX_AVX2_KERNELS)
    elseif(SONX_TARGET_AARCH64)
      list(APPEND selected ${neon})
      if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # The kernels are written in an order that the registers suffice for; GCC's reordering ahead
        # of register allocation makes them spill.
        set_source_files_properties(${neon} PROPERTIES COMPILE_OPTIONS -fno-schedule-insns)
      endif()
      set(found SONX_NEON_KERNELS)
    endif()
  endif()
  set(${sources} ${selected} PARENT_SCOPE)
  set(${definition} ${found} PARENT_SCOPE)
endfunction()
