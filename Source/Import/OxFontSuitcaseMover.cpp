#include "OxFontSuitcaseMover.h"

#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <new>

#include "FolderBelow.h"
#include "SuitcaseCopy.h"

namespace {

namespace fs = boost::filesystem;

// The file that a record was made from. An importer rewrites the path attributes, so what the
// pipeline has noted goes first.
fs::path fileOf(const OxFont& font) {
    return font.sourceFile().empty() ? fs::path(font.getAttribute(eSourcePath)) : font.sourceFile();
}

bool livesInResources(const OxFont& font) {
    switch (font.getFontType()) {
        case OxFont::T1:
        case OxFont::TT:
        case OxFont::Bi:
        case OxFont::DF:
            return !font.resources().empty();
        default:
            return false;
    }
}

}  // namespace

OxFontSuitcaseMover::OxFontSuitcaseMover() = default;

OxFontSuitcaseMover::OxFontSuitcaseMover(const fs::path& source, const fs::path& destination)
    : OxFontMover(source, destination) {}

OxFontSuitcaseMover::~OxFontSuitcaseMover() = default;

void OxFontSuitcaseMover::Move(boost::shared_ptr<OxFont>& font) {
    if (!font) {
        return;
    }
    if (livesInResources(*font)) {
        MoveSuitcase(font);
    } else if (font->getFontType() == OxFont::TTC) {
        MoveTrueTypeCollection(font);
    } else {
        MoveFont(font);
    }
}

void OxFontSuitcaseMover::MoveFont(boost::shared_ptr<OxFont>& font) {
    if (!font) {
        return;
    }
    const fs::path file = fileOf(*font);
    if (file.empty()) {
        setLastCopy(CopyResult{CopyOutcome::eNoFile, {}});
        return;
    }
    Move(file, destination() / file.filename(), font);
}

void OxFontSuitcaseMover::MoveSuitcase(boost::shared_ptr<OxFont>& font) {
    if (!font) {
        return;
    }
    const fs::path file = fileOf(*font);
    const std::string name = font->getGeneratedSuitcaseName();
    if (file.empty() || name.empty()) {
        setLastCopy(CopyResult{CopyOutcome::eNoFile, {}});
        return;
    }
    // The texts come out of the font: neither may lead anywhere else.
    const auto below =
        pathBelow(destination(), destination() / font->getGeneratedSuitcaseFolder() / name);
    if (!below || name == "." || name.find('/') != std::string::npos) {
        setLastCopy(CopyResult{CopyOutcome::eRefused, {}});
        return;
    }
    const fs::path folder = destination() / below->parent_path();
    boost::system::error_code error;
    openFolderBelow(destination(), below->parent_path(), MissingFolders::eCreate, error);
    if (error) {
        setLastCopy(error.value() == EXDEV ? CopyResult{CopyOutcome::eRefused, {}}
                                           : CopyResult::failed(error));
        return;
    }
    CopyResult result = CopyResult::failed(systemError(ENOMEM));
    try {
        result = copySuitcase(*font, file, folder, name);
    } catch (const std::bad_alloc&) {
        // What was prepared is discarded; the result says it.
    }
    if (result.outcome == CopyOutcome::eCopied || result.outcome == CopyOutcome::eSame) {
        const std::optional<CopyResult> trouble = movePrinterFonts(font, folder);
        result = trouble.value_or(result);
    }
    setLastCopy(result);
}

// What kept a printer font from being beside its suitcase: a failure goes before anything else.
std::optional<CopyResult> OxFontSuitcaseMover::movePrinterFonts(boost::shared_ptr<OxFont>& font,
                                                                const fs::path& folder) {
    std::optional<CopyResult> trouble;
    for (const fs::path& printerFont : font->printerFontPaths) {
        boost::system::error_code error;
        const fs::file_type type = fs::status(printerFont, error).type();
        if (type != fs::regular_file && type != fs::status_error) {
            continue;  // its absence is on the record
        }
        const fs::path target = folder / printerFont.filename();
        Move(printerFont, target, font);
        // Nothing is told of a name that is taken.
        const CopyResult result = lastCopy() ? *lastCopy() : compare(printerFont, target);
        const bool isThere =
            result.outcome == CopyOutcome::eCopied || result.outcome == CopyOutcome::eSame;
        if (!isThere && (!trouble || result.outcome == CopyOutcome::eFailed)) {
            trouble = result;
        }
    }
    return trouble;
}

void OxFontSuitcaseMover::MoveTrueTypeCollection(boost::shared_ptr<OxFont>& font) {
    MoveFont(font);
}
