# cmake -D "PROGRAM=command;argument..." -D OUTPUT=text_file -P check_sample.cmake
# The program ends well and writes what the manual shows.
execute_process(COMMAND ${PROGRAM} OUTPUT_VARIABLE written RESULT_VARIABLE status)
file(READ ${OUTPUT} wanted)
string(REPLACE "\r\n" "\n" written "${written}")
# A port that is in use makes a program take the next one.
string(REGEX REPLACE "(127.0.0.1:[0-9][0-9][0-9])[0-9][0-9]" "\\100" written "${written}")
if(NOT status EQUAL 0 OR NOT written STREQUAL wanted)
  message(FATAL_ERROR "${PROGRAM} ended with ${status} and wrote\n${written}\ninstead of\n${wanted}")
endif()
