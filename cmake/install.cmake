# Install tree: libraries, public headers under include/sonx_proc_hal/<folder>/, a CMake package and
# a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS sonx_proc_hal sonx_proc_hal_static EXPORT sonx_proc_hal_targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})

# The public headers, by folder; no other header is installed.
set(public_headers export.h version.h)
foreach(header
    allpass audio_delay comber dc_remove elliptic fft_int fixed_math iir iircomber notch sample_rate)
  list(APPEND public_headers dsp/${header}.h)
endforeach()
foreach(header
    compressor compressor_bass crossfeed_network difference_circuit dynamic_range_control
    early_reflector equalizer nld parameter_equalizer reverb smart_volume_control
    speaker_boost_system spectral_band_split stereo_widening_system virtual_bass_system)
  list(APPEND public_headers effects/${header}.h)
endforeach()
foreach(header
    audio_effect_control channel_balance module_parameters smooth_volume sonx_hp_effect
    teka_hp_effect teka_hp_effect_untyped)
  list(APPEND public_headers hp/${header}.h)
endforeach()
foreach(header gramophone howling_cancel iirecho resampler sonx_ktv teka_audio_tx_ktv)
  list(APPEND public_headers ktv/${header}.h)
endforeach()
list(APPEND public_headers
  ns/band_post.h ns/noise_suppressor.h spl/by_two.h spl/fft.h spl/resample.h spl/vectors.h)
foreach(header ${public_headers})
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES src/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/sonx_proc_hal/${folder})
endforeach()

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/sonx_proc_hal)
install(EXPORT sonx_proc_hal_targets NAMESPACE sonx:: DESTINATION ${config_dir})
configure_package_config_file(cmake/sonx_proc_hal-config.cmake.in
  ${PROJECT_BINARY_DIR}/sonx_proc_hal-config.cmake INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/sonx_proc_hal-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/sonx_proc_hal-config.cmake
  ${PROJECT_BINARY_DIR}/sonx_proc_hal-config-version.cmake
  DESTINATION ${config_dir})

# The pkg-config file finds the tree from where it stands, so that the tree can be moved.
file(RELATIVE_PATH sonx_prefix_from_pc
  /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/sonx_proc_hal.pc.in ${PROJECT_BINARY_DIR}/sonx_proc_hal.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/sonx_proc_hal.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The rack: a header, a CMake package and a pkg-config file of its own. The static one needs the
# effects' archive beside it.
if(TARGET sonx_rack)
  set(rack_config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/sonx_rack)
  install(TARGETS sonx_rack sonx_rack_static EXPORT sonx_rack_targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(FILES rack/include/sonx/rack.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/sonx)
  install(DIRECTORY presets DESTINATION ${CMAKE_INSTALL_DATADIR}/sonx FILES_MATCHING PATTERN *.toml)
  install(EXPORT sonx_rack_targets NAMESPACE sonx:: DESTINATION ${rack_config_dir})
  configure_package_config_file(cmake/sonx_rack-config.cmake.in
    ${PROJECT_BINARY_DIR}/sonx_rack-config.cmake INSTALL_DESTINATION ${rack_config_dir})
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/sonx_rack-config-version.cmake
    COMPATIBILITY SameMajorVersion)
  install(FILES
    ${PROJECT_BINARY_DIR}/sonx_rack-config.cmake
    ${PROJECT_BINARY_DIR}/sonx_rack-config-version.cmake
    DESTINATION ${rack_config_dir})
  configure_file(cmake/sonx_rack.pc.in ${PROJECT_BINARY_DIR}/sonx_rack.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/sonx_rack.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endif()

# The tool, with its manual and the shells' completions. It finds the libraries from where it stands.
if(TARGET sonx)
  file(RELATIVE_PATH libdir_from_bin
    /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
  set_target_properties(sonx PROPERTIES INSTALL_RPATH $ORIGIN/${libdir_from_bin})
  install(TARGETS sonx RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  set(manual ${PROJECT_BINARY_DIR}/tools/manual)
  install(DIRECTORY ${manual}/man1 DESTINATION ${CMAKE_INSTALL_MANDIR})
  foreach(folder bash-completion/completions zsh/site-functions fish/vendor_completions.d)
    string(REGEX REPLACE "[-/].*" "" shell ${folder})
    install(DIRECTORY ${manual}/${shell}/ DESTINATION ${CMAKE_INSTALL_DATADIR}/${folder})
  endforeach()
endif()
