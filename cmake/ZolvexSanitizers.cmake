# ZOLVEX_SANITIZE is a list for -fsanitize=, for example "address,undefined" or "thread"; empty for none.
set(ZOLVEX_SANITIZE "" CACHE STRING "Sanitizers to build everything with")
if(ZOLVEX_SANITIZE)
  add_compile_options(-fsanitize=${ZOLVEX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ZOLVEX_SANITIZE})
endif()
