# Makes the command line print its manual page and completions, under its name in a
# flavour:
#   cmake -D program=PROGRAM -D name=NAME -D folder=FOLDER -P command_line_texts.cmake
file(MAKE_DIRECTORY ${folder})
string(REPLACE - _ function_name ${name})
string(REPLACE - "\\-" manual_name ${name})
string(TOUPPER "${manual_name}" manual_title)

foreach(pair IN ITEMS "manual|1" "completion bash|bash" "completion zsh|zsh" "completion fish|fish"
    "completion powershell|ps1")
  string(REGEX MATCH "^(.*)\\|(.*)$" ignored "${pair}")
  set(file ${folder}/${name}.${CMAKE_MATCH_2})
  string(REPLACE " " ";" arguments "${CMAKE_MATCH_1}")
  execute_process(COMMAND ${program} ${arguments} OUTPUT_FILE ${file} COMMAND_ERROR_IS_FATAL ANY)
  file(READ ${file} text)
  if(NOT text MATCHES "pellavox")
    message(FATAL_ERROR "${file}: the program printed something else")
  endif()
  string(REPLACE pellavox-cli ${name} text "${text}")
  string(REPLACE pellavox_cli ${function_name} text "${text}")
  string(REPLACE "pellavox\\-cli" "${manual_name}" text "${text}")
  string(REPLACE "PELLAVOX\\-CLI" "${manual_title}" text "${text}")
  file(WRITE ${file} "${text}")
endforeach()
file(TOUCH ${folder}/made)
