#include "OxFontImporter.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <boost/bind/bind.hpp>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <iostream>

#include "CollectedImport.h"
#include "FileSystemSync.h"
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
    // A cancellation during the walk is not told to the font completion callbacks.
    parser_->fileCompletionCallbacks.push_back([this](bool cancelled) {
        if (cancelled) {
            cancelled_ = true;
        }
    });
    parser_->fontCompletionCallbacks.push_back(
        boost::bind(&OxFontImporter::fontCompletion, this, _1));
    collected_ = std::make_unique<CollectedImport>(destination_);
    sync_ = std::make_unique<FileSystemSync>();
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

void OxFontImporter::cancel() {
    cancelled_ = true;
    parser_->cancel();
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
    if (parser_->reading() == Reading::eModern) {
        collected_->add(*font);
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
    report({source, output, result.outcome, result.error, font});
    font.reset();
}

void OxFontImporter::report(const FontCopy& copy) {
    for (const CopyCallback& callback : copyCallbacks) {
        callback(copy);
    }
}

void OxFontImporter::fontCompletion(bool cancelled) {
    if (parser_->reading() != Reading::eModern) {
        return;
    }
    if (cancelled) {
        cancelled_ = true;
    }
    try {
        placeCollected();
    } catch (const std::exception& error) {
        // The host waits for its own completion callbacks.
        logChannel().error(error.what());
        syncError_ = systemError(ENOMEM);
    }
}

void OxFontImporter::placeCollected() {
    CollectedImport::Ways ways;
    ways.place = [this](const fs::path& source, const fs::path& below,
                        boost::shared_ptr<OxFont>& font) {
        const fs::path output = destination_ / below;
        const CopyResult result = place(source, output, font);
        results_.clear();  // each file comes once
        if (result.outcome == CopyOutcome::eCopied && !dryRun_) {
            sync_->noteFileIn(output.parent_path());
        }
        return result;
    };
    ways.differs = [this](const fs::path& source, const fs::path& below) {
        return differs(source, destination_ / below);
    };
    ways.report = [this](const FontCopy& copy) { report(copy); };
    ways.cancelled = [this] { return cancelled_.load(); };
    collected_->place(ways, keepBoth_);
    syncError_ = sync_->sync();
}

bool OxFontImporter::differs(const fs::path& source, const fs::path& destination) {
    if (isTaken(destination)) {
        return mover_->compare(source, destination).outcome == CopyOutcome::eDiffers;
    }
    const auto rehearsed = rehearsed_.find(destination.string());
    return rehearsed != rehearsed_.end() &&
           mover_->compare(source, rehearsed->second).outcome == CopyOutcome::eDiffers;
}

std::size_t OxFontImporter::leftOut() const {
    return collected_->leftOut();
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
