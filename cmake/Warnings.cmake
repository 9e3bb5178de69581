# Warnings and sanitizers that every target of the project is built with.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Woverloaded-virtual -Wimplicit-fallthrough)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  add_compile_options(-Wno-restrict) # GCC 12 reports string concatenation by mistake when it optimises
endif()
if(TESSARY_WERROR)
  add_compile_options(-Werror)
endif()
if(TESSARY_SANITIZE)
  add_compile_options(-fsanitize=${TESSARY_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${TESSARY_SANITIZE})
endif()
