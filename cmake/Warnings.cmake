# The warnings that every target of the project is built with; each is an error.
add_library(oxparser_warnings INTERFACE)
target_compile_options(oxparser_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
    -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # Falsely raised by std::string assignment and concatenation at -O2.
    target_compile_options(oxparser_warnings INTERFACE -Wno-restrict)
endif()
