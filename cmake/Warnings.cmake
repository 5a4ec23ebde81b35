# The warnings that every target of the tree is built with. Not exported: a program that links the library picks its own.
add_library(zel_warnings INTERFACE)
target_compile_options(zel_warnings INTERFACE -Wall -Wextra -Wshadow -Wconversion)
if(ZEL_WERROR)
  target_compile_options(zel_warnings INTERFACE -Werror)
endif()
