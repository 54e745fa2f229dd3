# Interface target with the warnings that every target of the project is built with.
add_library(zolvex-warnings INTERFACE)
target_compile_options(zolvex-warnings INTERFACE -Wall -Wextra -Wshadow -Wconversion -Wpedantic)
if(ZOLVEX_WERROR)
  target_compile_options(zolvex-warnings INTERFACE -Werror)
endif()
