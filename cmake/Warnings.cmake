# The warnings of every target of this project.
add_compile_options(-Wall -Wextra -Wshadow)
add_compile_options(
  -Wno-psabi            # vector types pass between inlined functions only
  -Wno-use-after-free)  # GCC 12 does not follow the shared counts of the arrays
add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>)
if(VELDANE_WERROR)
  add_compile_options(-Werror)
endif()
