#include <boost/filesystem/path.hpp>
#include <boost/make_shared.hpp>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "Check.h"
#include "FolderBelow.h"
#include "FuzzTarget.h"
#include "InputParts.h"
#include "OxFontImporter.h"
#include "ScratchFolder.h"

namespace {

namespace fs = boost::filesystem;

// Gets what an importer would copy, and copies nothing.
class WatchingMover : public OxFontMover {
  public:
    explicit WatchingMover(std::string destination) : destination_(std::move(destination)) {}

    void Move(const fs::path& /*source*/, const fs::path& output,
              boost::shared_ptr<OxFont>& /*font*/) override {
        const std::string& text = output.string();
        check(text.starts_with(destination_ + "/"), "an output below the destination", text);
        check(text.find('\0') == text.npos, "an output without zero bytes");
        std::istringstream elements(text.substr(destination_.size() + 1));
        bool any = false;
        for (std::string element; std::getline(elements, element, '/');) {
            check(element != "..", "an output that never goes up", text);
            any = any || (!element.empty() && element != ".");
        }
        check(any, "an output that is not the destination itself", text);
        setLastCopy(CopyResult{CopyOutcome::eCopied, {}});
    }

  private:
    std::string destination_;
};

// The importer's rule for one font, and what becomes of its path.
void importFont(const std::string& family, const std::string& foundry,
                const std::string& fileName) {
    const fs::path& destination = ScratchFolder::instance().path();
    OxFontImporter importer({}, destination, "", "");
    importer.setMover(std::make_unique<WatchingMover>(destination.string()));
    std::vector<FontCopy> copies;
    importer.copyCallbacks.push_back([&](const FontCopy& copy) { copies.push_back(copy); });

    const auto font = boost::make_shared<OxFont>();
    font->setAttribute(eFontFilePath, "/fonts");
    font->setAttribute(eFileName, fileName);
    font->setAttribute(eFamilyname, family);
    font->setPrinterFontAttributes({{eFoundry, foundry}});  // as it is, without a look-up
    std::ostringstream lines;
    std::streambuf* const out = std::cout.rdbuf(lines.rdbuf());
    importer.fontProgress(1, 1, font);
    std::cout.rdbuf(out);

    check(copies.size() == 1, "one outcome a font");
    check((copies[0].outcome == CopyOutcome::eNoFile) == fileName.empty(),
          "a font without a file, and no other, is no-file");
    const fs::path relative = importer.createPath(family, foundry, fileName);
    check(font->getAttribute(eFontFilePath) == relative.parent_path().string(),
          "the record says where the font goes");
}

void checkBelow(const fs::path& destination, const fs::path& output) {
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

// A family, a foundry and a file name of a font; destinations of several shapes.
FUZZ_TARGET(ImportPath) {
    InputParts parts(input);
    const std::string family = parts.shortText();
    const std::string foundry = parts.shortText();
    const std::string fileName(parts.rest().text());
    importFont(family, foundry, fileName);

    const fs::path relative = fs::path(family) / foundry / fileName;
    for (const char* destination :
         {"/fonts/all", "/fonts/all/", "fonts", ".", "", "/", "//fonts/x", "../fonts/./all/.."}) {
        checkBelow(destination, fs::path(destination) / relative);
    }
    // The destination is the host's, and so has no zero byte.
    checkBelow("/" + std::string(family.c_str()), "/" + foundry);
}

}  // namespace
