cmake_policy(SET CMP0007 NEW)
# Writes the code of a header's "Typical usage" comment to a file of its own, so that a test
# compiles it: the comment lines after the one that begins "// Typical usage" whose text is
# indented ("//   CODE"), with blank comment lines as blank lines, up to the first line that is
# not a comment. Usage: cmake -DIN=HEADER -DOUT=FILE -P ExtractUsage.cmake
file(READ "${IN}" text)
string(FIND "${text}" "\n// Typical usage" start)
if(start EQUAL -1)
  message(FATAL_ERROR "${IN}: no typical-usage comment")
endif()
string(SUBSTRING "${text}" ${start} -1 text)
# Lines as list items; the code's own semicolons are kept out of the list's way.
string(REPLACE ";" "<semicolon>" text "${text}")
string(REPLACE "\n" ";" lines "${text}")
list(POP_FRONT lines)  # the empty rest of the line before the comment
list(POP_FRONT lines)  # "// Typical usage: ..."
set(code "// The typical usage of ${IN}, as its comment shows it.\n")
foreach(line IN LISTS lines)
  if(NOT line MATCHES "^//")
    break()
  endif()
  if(line STREQUAL "//")
    string(APPEND code "\n")
  elseif(line MATCHES "^//   (.*)$")
    string(APPEND code "${CMAKE_MATCH_1}\n")
  endif()
endforeach()
string(REPLACE "<semicolon>" ";" code "${code}")
file(WRITE "${OUT}" "${code}")
