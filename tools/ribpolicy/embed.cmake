# Turns a text file into a C++ source that defines it as a string, so the program carries its
# built-in scenario without reading the source tree at run time.
file(READ ${IN} content HEX)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${content}")
file(WRITE ${OUT} "#include <string_view>\nnamespace ribpolicy {\nstatic const char kDemo[] = {${bytes} 0};\nstd::string_view demoScenario() { return {kDemo, sizeof(kDemo) - 1}; }\n}  // namespace ribpolicy\n")
