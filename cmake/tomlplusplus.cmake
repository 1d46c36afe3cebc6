# toml++ as headers alone, which a cross build can share: sonx_tomlplusplus, where it is found.
find_path(SONX_TOMLPLUSPLUS_DIR toml++/toml.h NO_CMAKE_FIND_ROOT_PATH)
if(SONX_TOMLPLUSPLUS_DIR)
  # By a link of its own, so that nothing else of that folder is seen.
  set(tomlplusplus ${PROJECT_BINARY_DIR}/tomlplusplus)
  file(MAKE_DIRECTORY ${tomlplusplus})
  file(CREATE_LINK ${SONX_TOMLPLUSPLUS_DIR}/toml++ ${tomlplusplus}/toml++ SYMBOLIC)
  add_library(sonx_tomlplusplus INTERFACE)
  target_include_directories(sonx_tomlplusplus SYSTEM INTERFACE ${tomlplusplus})
endif()
