#include <boost/filesystem/path.hpp>
#include <string>

#include "Check.h"
#include "FolderBelow.h"
#include "FuzzTarget.h"
#include "InputParts.h"

namespace {

namespace fs = boost::filesystem;

// An importer's output path is the destination and what pathBelow answers: it must lie below the
// destination by its text alone.
void checkInside(const fs::path& destination, const fs::path& output) {
    const auto below = pathBelow(destination, output);
    if (!below) {
        return;
    }
    const std::string text = below->string();
    check(!text.empty() && text.front() != '/' && text.find('\0') == text.npos, "a relative path");
    for (const fs::path& element : *below) {
        check(element != ".." && element != "." && !element.empty(), "plain elements");
    }
    check(pathBelow(destination, destination / *below) == below, "a path below stays below");
}

// Destinations of several shapes, and a family, a foundry and a file name of a font.
void run(ByteView input) {
    InputParts parts(input);
    const std::string family = parts.shortText();
    const std::string foundry = parts.shortText();
    const std::string fileName(parts.rest().text());
    fs::path relative = "./";
    if (!family.empty()) {
        relative /= family.substr(0, 1);
        relative /= family;
    }
    if (!foundry.empty()) {
        relative /= foundry;
    }
    relative /= fileName;
    for (const char* destination :
         {"/fonts/all", "/fonts/all/", "fonts", ".", "", "/", "//fonts/x", "../fonts/./all/.."}) {
        checkInside(destination, fs::path(destination) / relative);
    }
    // The destination is the host's, and so has no zero byte.
    checkInside("/" + std::string(family.c_str()), "/" + foundry);
}

const FuzzTarget target("ImportPath", run);

}  // namespace
