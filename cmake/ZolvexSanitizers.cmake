# ZOLVEX_SANITIZE is a list for -fsanitize=, for example "address,undefined" or "thread"; empty for none.
set(ZOLVEX_SANITIZE "" CACHE STRING "Sanitizers to build everything with")
if(ZOLVEX_SANITIZE)
  add_compile_options(-fsanitize=${ZOLVEX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ZOLVEX_SANITIZE})
  if(ZOLVEX_SANITIZE MATCHES thread AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wno-tsan)  # Asio has memory fences, which the thread sanitizer cannot follow
  endif()
endif()
