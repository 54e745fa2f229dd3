# Writes OUTPUT, a header with the build number: the number of commits, or, in a source archive without history, the
# content of the file "build-number" in SOURCE. Touches OUTPUT only when the number has changed.
set(number "?")
if(EXISTS ${SOURCE}/build-number)
  file(STRINGS ${SOURCE}/build-number number LIMIT_COUNT 1)
else()
  execute_process(COMMAND git -C ${SOURCE} rev-list --count HEAD
                  OUTPUT_VARIABLE counted OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failure)
  if(NOT failure)
    set(number ${counted})
  endif()
endif()
file(CONFIGURE OUTPUT ${OUTPUT} CONTENT "#define ZOLVEX_BUILD_NUMBER \"${number}\"\n")
