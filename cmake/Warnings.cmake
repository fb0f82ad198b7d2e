# The warnings of every target of this project.
add_compile_options(-Wall -Wextra -Wshadow -Wno-psabi)
add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>)
if(VELDANE_WERROR)
  add_compile_options(-Werror)
endif()
