# Run by "cmake --install" and by CPack: writes the desktop entry with the
# installed program's full path and installs it, so that it is listed in
# install_manifest.txt like every other file.
# In: QUENDRA_DESKTOP_TEMPLATE, QUENDRA_DESKTOP_ENTRY (the file written),
#     QUENDRA_PROGRAM_DIR and QUENDRA_APPLICATIONS_DIR (relative to the prefix,
#     or absolute).
foreach(folder QUENDRA_PROGRAM_DIR QUENDRA_APPLICATIONS_DIR)
  if(NOT IS_ABSOLUTE "${${folder}}")
    set(${folder} "${CMAKE_INSTALL_PREFIX}/${${folder}}")
  endif()
endforeach()

set(program "${QUENDRA_PROGRAM_DIR}/parlevo")
# The desktop entry rules: a path holding a character they reserve is quoted,
# with \ " ` $ escaped inside the quotes and then every \ escaped again as
# any value's is; % is doubled everywhere.
if(program MATCHES "[] \t\"'\\\\><~|&;$*?#()`%[]")
  string(REPLACE "%" "%%" program "${program}")
  string(REPLACE "\\" "\\\\\\\\" program "${program}")
  string(REPLACE "\"" "\\\\\"" program "${program}")
  string(REPLACE "`" "\\\\`" program "${program}")
  string(REPLACE "$" "\\\\$" program "${program}")
  set(program "\"${program}\"")
endif()
set(PARLEVO_EXEC "${program}")
configure_file("${QUENDRA_DESKTOP_TEMPLATE}" "${QUENDRA_DESKTOP_ENTRY}" @ONLY)
file(INSTALL DESTINATION "${QUENDRA_APPLICATIONS_DIR}" TYPE FILE FILES "${QUENDRA_DESKTOP_ENTRY}")
