#include "StayedBehind.h"

#include <optional>

#include "CodeTexts.h"
#include "Utf8.h"

namespace {

// What a file that is no font looks like.
std::string noFontReason(const OxFont& font) {
    return font.diagnostics().empty() ? "no font" : describe(font.diagnostics().front());
}

// Nothing for what is in its place.
std::optional<std::string> reason(const FontCopy& copy) {
    const std::string destination = toUtf8(copy.destination.string());
    switch (copy.outcome) {
        case CopyOutcome::eDiffers:
            return destination + " is taken by something else";
        case CopyOutcome::eNoFolder:
            return "the folder of " + destination + " is missing";
        case CopyOutcome::eRefused:
            return destination + " lies outside the folder to copy to";
        case CopyOutcome::eFailed:
            return copy.error.message();
        case CopyOutcome::eNoFile:
            return noFontReason(*copy.font);
        default:
            return std::nullopt;
    }
}

}  // namespace

void StayedBehind::count(const FontCopy& copy) {
    const std::optional<std::string> why = reason(copy);
    const boost::filesystem::path& file =
        copy.outcome == CopyOutcome::eNoFile ? copy.font->sourceFile() : copy.source;
    if (!why || file == last_) {
        return;
    }
    last_ = file;
    if (++files_ <= kMostLines) {
        lines_ += std::string("  ") + copyOutcomeName(copy.outcome) + "  " + toUtf8(file.string()) +
                  ": " + *why + "\n";
    }
}

std::string StayedBehind::text() const {
    if (files_ == 0) {
        return {};
    }
    const std::string rest =
        files_ > kMostLines ? "  and " + std::to_string(files_ - kMostLines) + " more\n" : "";
    return "Not in its place:\n" + lines_ + rest;
}
