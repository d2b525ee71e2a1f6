# Fails when the name of a settings key is written as a string literal
# anywhere but in its table row (settings/SettingRules.h): the code reads and
# writes keys through their handles, so that a key is changed in one place.
# Comments may name keys; tests and fuzz targets may spell them (they check
# the files as the client sees them).
#   cmake -P cmake/CheckKeyNames.cmake
cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/Sources.cmake)
set(root ${GRS_SOURCE_ROOT})
set(table ${root}/settings/SettingRules.h)

# The names, from the rows: {Key::X, {L"Name", Source::...
file(STRINGS ${table} rows REGEX "{L\"[A-Za-z0-9_]+\", Source::")
set(names "")
foreach(row IN LISTS rows)
  string(REGEX REPLACE "^.*{L\"([A-Za-z0-9_]+)\", Source::.*$" "\\1" name "${row}")
  list(APPEND names ${name})
endforeach()
list(LENGTH names count)
if(count LESS 40)
  message(FATAL_ERROR "key names: found ${count} rows in ${table}: the table's form changed, nothing was checked")
endif()
list(JOIN names "|" alternatives)

# Literals that are the exact text of a key but mean something else. Kept
# tiny: a name here is no longer checked anywhere.
set(allowed "")

set(folders core serverconfig route settings userprops dll include standin support inspect supporttool host tools bench)
set(files "")
foreach(folder IN LISTS folders)
  file(GLOB_RECURSE found LIST_DIRECTORIES false ${root}/${folder}/*.h ${root}/${folder}/*.cpp)
  list(APPEND files ${found})
endforeach()
list(REMOVE_ITEM files ${table})

set(failures "")
foreach(file IN LISTS files)
  file(STRINGS ${file} lines REGEX "\"(${alternatives})\"")
  foreach(line IN LISTS lines)
    # Whole-line comments, then a trailing one (after a blank, which a URL's
    # "//" never follows).
    if(line MATCHES "^[ \t]*(//|/\\*|\\*)")
      continue()
    endif()
    string(REGEX REPLACE "[ \t]//.*$" "" code "${line}")
    # An opening quote that is not escaped: a key quoted inside a message is
    # wording, not a key read or written.
    if(code MATCHES "(^|[^\\\\])(L|u8|u|U)?\"(${alternatives})\"")
      set(name ${CMAKE_MATCH_3})
      if(NOT name IN_LIST allowed)
        file(RELATIVE_PATH where ${root} ${file})
        string(STRIP "${line}" shown)
        list(APPEND failures "${where}: \"${name}\": ${shown}")
      endif()
    endif()
  endforeach()
endforeach()

if(failures)
  list(JOIN failures "\n  " text)
  message(FATAL_ERROR "key names spelt outside their table (use the handle, grs::settings::Key or SyncKey):\n  ${text}")
endif()
list(LENGTH files fileCount)
message(STATUS "key names: ${count} keys, none spelt in ${fileCount} files outside the table")
