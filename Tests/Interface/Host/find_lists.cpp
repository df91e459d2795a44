// Prints where the library finds its lists; a line stays empty for one that it does not find.
#include <oxparser/LibraryResources.h>

#include <iostream>

int main() {
    for (const char* const list : {"foundrylist", "foundrycodelist"}) {
        std::cout << libraryResource(list, "txt").string() << "\n";
    }
}
