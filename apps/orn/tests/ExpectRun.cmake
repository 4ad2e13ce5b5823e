# Runs one orn command line and checks what a user would see.
#   COMMAND     the command line, its words separated by |
#   EXIT        the exit status expected
#   MATCH       a regular expression the output (stdout and stderr together) must match
#   NO_FILE     a file that must not exist afterwards
#   BMP_PIXEL   "FILE|RRGGBB": the first pixel (bottom left) of a 24-bit BMP
string(REPLACE "|" ";" COMMAND "${COMMAND}")
execute_process(COMMAND ${COMMAND} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
set(all "${out}${err}")
if(DEFINED EXIT AND NOT rc STREQUAL EXIT)
    message(FATAL_ERROR "exit status ${rc}, expected ${EXIT}:\n${all}")
endif()
if(DEFINED MATCH AND NOT all MATCHES "${MATCH}")
    message(FATAL_ERROR "the output does not match '${MATCH}':\n${all}")
endif()
if(DEFINED NO_FILE AND EXISTS "${NO_FILE}")
    message(FATAL_ERROR "${NO_FILE} was written")
endif()
if(DEFINED BMP_PIXEL)
    string(REPLACE "|" ";" BMP_PIXEL "${BMP_PIXEL}")
    list(GET BMP_PIXEL 0 file)
    list(GET BMP_PIXEL 1 rgb)
    file(READ "${file}" bgr OFFSET 54 LIMIT 3 HEX)
    string(SUBSTRING "${rgb}" 0 2 r)
    string(SUBSTRING "${rgb}" 2 2 g)
    string(SUBSTRING "${rgb}" 4 2 b)
    string(TOLOWER "${b}${g}${r}" want)
    if(NOT bgr STREQUAL want)
        message(FATAL_ERROR "the first pixel of ${file} is (BGR) ${bgr}, expected ${want}")
    endif()
endif()
