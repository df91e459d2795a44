#include "OxFontImporter.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <boost/bind/bind.hpp>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <iostream>

#include "FolderBelow.h"
#include "Log.h"
#include "OxFontSuitcaseMover.h"

namespace {

namespace fs = boost::filesystem;
using boost::system::error_code;

const LogChannel& logChannel() {
    static const LogChannel channel("OxFontImporter");
    return channel;
}

// Links are not followed: a dangling one takes a name, too.
bool isTaken(const fs::path& path) {
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0;
}

bool holdsParentElement(const fs::path& path) {
    return std::find(path.begin(), path.end(), fs::path("..")) != path.end();
}

CopyResult refused(const fs::path& output) {
    logChannel().error("Output path leaves the destination folder:  " + output.string());
    return {CopyOutcome::eRefused, {}};
}

// The outcome for a further record of a file that has been dealt with.
CopyResult repeated(const CopyResult& earlier) {
    return earlier.outcome == CopyOutcome::eCopied ? CopyResult{CopyOutcome::eSame, {}} : earlier;
}

}  // namespace

OxFontImporter::OxFontImporter() {
    initialize();
}

OxFontImporter::OxFontImporter(const std::queue<fs::path>& sources, const fs::path& destination,
                               const fs::path& foundryNames, const fs::path& foundryCodes)
    : sources_(sources),
      destination_(destination),
      foundryNames_(foundryNames),
      foundryCodes_(foundryCodes) {
    initialize();
}

OxFontImporter::~OxFontImporter() {
    parser_.reset();
    mover_.reset();
}

void OxFontImporter::initialize() {
    logChannel().info("Source:  %s", sources_.empty() ? "" : sources_.front().string());
    logChannel().info("Destination:  %s", destination_.string());
    setMover(std::make_unique<OxFontSuitcaseMover>());
    parser_ = std::make_unique<OxParser>(sources_, foundryNames_, foundryCodes_);
    using namespace boost::placeholders;
    parser_->fileProgressCallbacks.push_back(
        boost::bind(&OxFontImporter::fileProgress, this, _1, _2, _3));
    parser_->fontProgressCallbacks.push_back(
        boost::bind(&OxFontImporter::fontProgress, this, _1, _2, _3));
}

void OxFontImporter::setMover(std::unique_ptr<OxFontMover> mover) {
    if (mover) {
        mover_ = std::move(mover);
        mover_->confineTo(destinationFolder());
    }
}

fs::path OxFontImporter::destinationFolder() const {
    return destination_.empty() ? fs::path(".") : destination_;
}

void OxFontImporter::import() {
    // What lies there has been imported already.
    parser_->leaveOut(destinationFolder());
    parser_->run();
}

void OxFontImporter::fileProgress(int found, int total, void* /*context*/) {
    // Deliberately without effect: a place to hook into when debugging an import.
    std::array<char, 64> text;
    static_cast<void>(
        std::snprintf(text.data(), text.size(), "Collecting file %d of %d", found, total));
}

fs::path OxFontImporter::createPath(const std::string& family, const std::string& foundry,
                                    const std::string& fileName) {
    fs::path path("./");
    if (!family.empty()) {
        path /= family.substr(0, 1);
        path /= family;
    }
    if (!foundry.empty()) {
        path /= foundry;
    }
    path /= fileName;
    return path;
}

void OxFontImporter::fontProgress(int /*parsed*/, int /*total*/, boost::shared_ptr<OxFont> font) {
    if (!font) {
        return;
    }
    const std::string fileName = font->getAttribute(eFileName);
    const fs::path source = fs::path(font->getAttribute(eFontFilePath)) / fileName;
    const fs::path relative =
        createPath(font->getAttribute(eFamilyname), font->getAttribute(eFoundry), fileName);
    font->setAttribute(eFontFilePath, relative.parent_path().string());
    const fs::path output = destination_ / relative;
    std::cout << "Outpath = " << output.string() << std::endl;

    const CopyResult result =
        fileName.empty() ? CopyResult{CopyOutcome::eNoFile, {}} : place(source, output, font);
    const FontCopy copy{source, output, result.outcome, result.error, font};
    for (const CopyCallback& callback : copyCallbacks) {
        callback(copy);
    }
    font.reset();
}

CopyResult OxFontImporter::place(const fs::path& source, const fs::path& output,
                                 boost::shared_ptr<OxFont>& font) {
    const auto below = pathBelow(destination_, output);
    if (!below) {
        return refused(output);
    }
    std::optional<CopyResult>& known = results_[{below->string(), source.string()}];
    if (known && known->outcome == CopyOutcome::eFailed) {
        return *known;
    }
    const fs::path target = destination_ / *below;
    const bool create = createFolders_ && !dryRun_;
    error_code folderError;
    openFolderBelow(destination_, below->parent_path(),
                    create ? MissingFolders::eCreate : MissingFolders::eKeep, folderError);
    if (folderError.value() == EXDEV) {
        return refused(output);
    }
    if (folderError && create) {
        known = CopyResult::failed(folderError);
        return *known;
    }
    const bool wasTaken = isTaken(target);
    if (!dryRun_) {
        // Where the text holds "..", it and the way through the folders may lead apart.
        move(source, holdsParentElement(output) ? target : output, font);
    }
    const bool isKnown = known && known->outcome != CopyOutcome::eNoFolder;
    if (isKnown) {
        known = repeated(*known);
    } else if (dryRun_) {
        known = rehearse(source, target, folderError);
    } else {
        known = outcomeOfMove(source, target, wasTaken, folderError);
    }
    return *known;
}

void OxFontImporter::move(const fs::path& source, const fs::path& output,
                          boost::shared_ptr<OxFont>& font) {
    mover_->setLastCopy(std::nullopt);
    try {
        mover_->Move(source, output, font);
    } catch (const std::exception& error) {
        // A host's own mover; the base lets nothing out.
        logChannel().error(error.what());
        mover_->setLastCopy(CopyResult::failed(systemError(EIO)));
    }
}

CopyResult OxFontImporter::outcomeOfMove(const fs::path& source, const fs::path& target,
                                         bool wasTaken, const error_code& folderError) {
    if (mover_->lastCopy()) {
        return *mover_->lastCopy();
    }
    if (wasTaken) {
        return mover_->compare(source, target);
    }
    if (isTaken(target)) {
        return {CopyOutcome::eCopied, {}};
    }
    return folderError ? CopyResult{CopyOutcome::eNoFolder, {}}
                       : CopyResult::failed(systemError(ECANCELED));
}

CopyResult OxFontImporter::rehearse(const fs::path& source, const fs::path& target,
                                    const error_code& folderError) {
    if (isTaken(target)) {
        return mover_->compare(source, target);
    }
    if (folderError && !createFolders_) {
        return {CopyOutcome::eNoFolder, {}};
    }
    if (folderError && folderError.value() != ENOENT) {
        return CopyResult::failed(folderError);
    }
    const auto [first, isFirst] = rehearsed_.try_emplace(target.string(), source);
    if (!isFirst) {
        return mover_->compare(source, first->second);
    }
    const CopyResult readable = mover_->compare(source, source);
    if (readable.outcome == CopyOutcome::eFailed) {
        rehearsed_.erase(first);
        return readable;
    }
    return {CopyOutcome::eCopied, {}};
}
