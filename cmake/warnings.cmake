# Every target of the project compiles without warnings; within a project of somebody else, whose
# compiler may know more of them, they stay warnings. g++ 12 takes joining a literal and a
# std::string for an overlapping copy, hence -Wno-restrict.
add_library(kiv_warnings INTERFACE)
target_compile_options(kiv_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow $<$<BOOL:${PROJECT_IS_TOP_LEVEL}>:-Werror>
  "$<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes;-Wc++-compat>"
  $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>
  $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wno-gnu-zero-variadic-macro-arguments>)
