#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/system/error_code.hpp>

#include "Export.h"
#include "OxFont.h"

/// What became of one font's copy.
enum class CopyOutcome {
    eCopied,
    eSame,      ///< skipped: the destination holds the same data and resource fork already
    eDiffers,   ///< skipped: the destination is taken by something else
    eNoFolder,  ///< skipped: the destination's folder does not exist
    eNoFile,    ///< the record names no file
    eRefused,   ///< the output path leaves the destination folder
    eFailed,    ///< see the error code; nothing was left behind
    eSameFile   ///< a further face of a file that was dealt with; modern reading only
};

/// "copied", "same", "differs", "no-folder", "no-file", "refused", "failed", "same-file".
OXPARSER_EXPORT const char* copyOutcomeName(CopyOutcome outcome);

struct CopyResult {
    CopyOutcome outcome = CopyOutcome::eFailed;
    boost::system::error_code error;  ///< set with Failed only

    static CopyResult failed(const boost::system::error_code& error) {
        return {CopyOutcome::eFailed, error};
    }
    friend bool operator==(const CopyResult&, const CopyResult&) = default;
};

/// One record's copy, as an importer reports it.
struct FontCopy {
    boost::filesystem::path source;
    boost::filesystem::path destination;
    CopyOutcome outcome;
    boost::system::error_code error;  ///< set with Failed only
    /// The record; its "FontFilePath" is the new folder. Under the modern reading a copy without
    /// long texts and most properties, and of a partner that no record comes from the one of the
    /// font that names it.
    boost::shared_ptr<OxFont> font;
};
