# Part of the installation: writes the launcher for the prefix at hand. It has `launcher`, the file
# to write before it is installed, and `bin_folder` from packaging/CMakeLists.txt.
get_filename_component(prefix "${CMAKE_INSTALL_PREFIX}" ABSOLUTE)
set(program "${prefix}/lib/devscout/bin/devscout")
string(REPLACE "'" "'\\''" program "${program}")
file(REMOVE "${launcher}")
file(WRITE "${launcher}" "#!/bin/sh\nexec '${program}' \"$@\"\n")
if(NOT IS_ABSOLUTE "${bin_folder}")
  set(bin_folder "${CMAKE_INSTALL_PREFIX}/${bin_folder}")
endif()
file(INSTALL DESTINATION "${bin_folder}" TYPE PROGRAM FILES "${launcher}")
