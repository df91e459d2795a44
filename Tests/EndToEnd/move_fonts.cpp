// Has the suitcase mover place every record of a file. Usage: move_fonts FILE FOLDER
// Prints what became of each.
#include <boost/make_shared.hpp>
#include <cstdio>
#include <memory>

#include "OxFontSuitcaseMover.h"
#include "OxParser.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: move_fonts FILE FOLDER\n");
        return 2;
    }
    OxParser parser("", "");
    const std::unique_ptr<boost::ptr_vector<OxFont>> fonts(parser.parseFile(argv[1]));
    OxFontSuitcaseMover mover(boost::filesystem::path(), argv[2]);
    while (fonts && !fonts->empty()) {
        boost::shared_ptr<OxFont> font(fonts->release(fonts->begin()).release());
        font->setSourceFile(argv[1]);
        mover.Move(font);
        std::printf("%s\n", mover.lastCopy() ? copyOutcomeName(mover.lastCopy()->outcome) : "none");
    }
}
