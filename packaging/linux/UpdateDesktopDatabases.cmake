# Run by `cmake --install` after its files are in place. Where they went into folders that this machine's desktops
# look at, its databases are brought up to date, so that a double-click works at once. What makes packages installs
# into a folder aside (DESTDIR), and is passed over: there the package system does it.
set(data "${CMAKE_INSTALL_PREFIX}/share")
set(searched "$ENV{XDG_DATA_DIRS}")
if(searched STREQUAL "")
  set(searched "/usr/local/share:/usr/share")
endif()
set(own "$ENV{XDG_DATA_HOME}")
if(own STREQUAL "")
  set(own "$ENV{HOME}/.local/share")
endif()
string(REPLACE ":" ";" searched "${searched}:${own}")

set(is_live FALSE)
foreach(folder IN LISTS searched)
  cmake_path(COMPARE "${folder}" EQUAL "${data}" is_same)
  cmake_path(COMPARE "${folder}" EQUAL "${data}/" is_same_with_slash)
  if(is_same OR is_same_with_slash)
    set(is_live TRUE)
  endif()
endforeach()

# update(FOLDER PROGRAM ARGUMENT...) runs the program on the folder. Where the program is not installed there is no
# database either, so nothing is done.
function(update folder program)
  find_program(updater_${program} ${program})
  if(updater_${program} AND IS_DIRECTORY "${folder}")
    message(STATUS "Bringing up to date: ${folder}")
    execute_process(COMMAND "${updater_${program}}" ${ARGN} "${folder}" OUTPUT_QUIET ERROR_QUIET)
  endif()
endfunction()

if(is_live AND "$ENV{DESTDIR}" STREQUAL "")
  update("${data}/mime" update-mime-database)
  update("${data}/applications" update-desktop-database --quiet)
  if(EXISTS "${data}/icons/hicolor/index.theme")
    update("${data}/icons/hicolor" gtk-update-icon-cache --quiet --force)
  endif()
endif()
