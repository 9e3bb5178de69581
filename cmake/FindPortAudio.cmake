# Finds PortAudio. Sets PortAudio_FOUND and makes the target PortAudio::PortAudio.
find_path(PortAudio_INCLUDE_DIR portaudio.h)
find_library(PortAudio_LIBRARY portaudio)
mark_as_advanced(PortAudio_INCLUDE_DIR PortAudio_LIBRARY)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(PortAudio REQUIRED_VARS PortAudio_LIBRARY PortAudio_INCLUDE_DIR)
if(PortAudio_FOUND AND NOT TARGET PortAudio::PortAudio)
  add_library(PortAudio::PortAudio UNKNOWN IMPORTED)
  set_target_properties(PortAudio::PortAudio PROPERTIES
    IMPORTED_LOCATION "${PortAudio_LIBRARY}" INTERFACE_INCLUDE_DIRECTORIES "${PortAudio_INCLUDE_DIR}")
endif()
