#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "Ascii.h"
#include "FindingText.h"
#include "MetricsReader.h"
#include "Partners.h"
#include "PostScriptScanner.h"
#include "StyleFields.h"

namespace {

constexpr int kOtherCount = 20404;
constexpr int kNoEnd = 20405;
constexpr int kMissingWord = 20406;

struct TextWord {
    std::string_view word;
    const char* property;
};

constexpr TextWord kTexts[] = {
    {"FontName", "postscriptName"}, {"FullName", "fullName"}, {"FamilyName", "family"},
    {"Version", "version"},         {"Notice", "copyright"},
};

// A part of the file between two words, the first of which states how many lines of a kind follow.
struct Section {
    std::string_view start;
    std::string_view end;
    std::array<std::string_view, 4> items;  // their first words
    bool kerning = false;
};

constexpr Section kSections[] = {
    {"StartCharMetrics", "EndCharMetrics", {"C", "CH"}},
    {"StartKernPairs", "EndKernPairs", {"KPX", "KP", "KPY", "KPH"}, true},
    {"StartKernPairs0", "EndKernPairs", {"KPX", "KP", "KPY", "KPH"}, true},
    {"StartKernPairs1", "EndKernPairs", {"KPX", "KP", "KPY", "KPH"}, true},
    {"StartTrackKern", "EndTrackKern", {"TrackKern"}},
    {"StartComposites", "EndComposites", {"CC"}},
};

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && ascii::isSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && (ascii::isSpace(text.back()) || text.back() == '\0')) {
        text.remove_suffix(1);
    }
    return text;
}

// Lines of a text, whatever ends them.
class Lines {
  public:
    explicit Lines(std::string_view text) : text_(text) {}

    bool next(std::string_view& line) {
        if (start_ >= text_.size()) {
            return false;
        }
        if (start_ == 0 ||
            feed_ < start_) {  // kept while lone carriage returns end lines before it
            feed_ = std::min(text_.find('\n', start_), text_.size());
        }
        line = text_.substr(start_, feed_ - start_);
        line = line.substr(0, line.find('\r'));
        start_ += line.size() + 1;
        return true;
    }

  private:
    std::string_view text_;
    std::size_t start_ = 0;
    std::size_t feed_ = 0;
};

class AfmFile {
  public:
    AfmFile(ByteView file, Face& face) : text_(file.text()), face_(face) {}

    void read();

  private:
    void readLine(std::string_view line);
    bool readInSection(std::string_view word);
    void readWord(std::string_view word, std::string_view value);
    void openSection(const Section& section, std::string_view count);
    void closeSection();
    std::size_t offsetOf(std::string_view part) const {
        return static_cast<std::size_t>(part.data() - text_.data());
    }

    std::string_view text_;
    Face& face_;
    const Section* section_ = nullptr;
    std::size_t sectionOffset_ = 0;
    std::optional<std::size_t> claimed_;
    std::size_t met_ = 0;
    std::size_t characters_ = 0;
    std::optional<std::size_t> pairs_;
    bool ended_ = false;
};

void AfmFile::read() {
    Lines lines(text_);
    for (std::string_view line; !ended_ && lines.next(line);) {
        readLine(line);
    }
    if (section_ != nullptr) {
        face_.find(kNoEnd, std::string(section_->end),
                   inFile(section_->start.data(), sectionOffset_));
        closeSection();
    }
    if (!ended_) {
        face_.find(kNoEnd, "EndFontMetrics");
    }
    if (face_.text("postscriptName").empty()) {
        face_.find(kMissingWord, "FontName");
    }
    face_.set("glyphs", characters_);
    if (pairs_) {
        face_.set("kerningPairs", *pairs_);
    }
}

void AfmFile::readLine(std::string_view line) {
    while (!line.empty() && ascii::isSpace(line.front())) {
        line.remove_prefix(1);
    }
    const std::size_t length = std::min(line.find_first_of(" \t;"), line.size());
    const std::string_view word = line.substr(0, length);
    if (word.empty() || (section_ != nullptr && readInSection(word))) {
        return;
    }
    readWord(word, line.substr(length));
}

// Whether the line belongs to the open section: one of its items, or its end.
bool AfmFile::readInSection(std::string_view word) {
    const auto& items = section_->items;
    if (std::find(items.begin(), items.end(), word) != items.end()) {
        ++met_;
        return true;
    }
    if (word != section_->end) {
        return false;
    }
    if (claimed_ && *claimed_ != met_) {
        face_.find(kOtherCount, std::to_string(met_) + ", claimed are " + std::to_string(*claimed_),
                   inFile(section_->start.data(), sectionOffset_));
    }
    closeSection();
    return true;
}

void AfmFile::readWord(std::string_view word, std::string_view value) {
    for (const Section& section : kSections) {
        if (section.start == word) {
            sectionOffset_ = offsetOf(word);
            return openSection(section, trimmed(value));
        }
    }
    for (const TextWord& row : kTexts) {
        if (row.word == word && face_.text(row.property).empty()) {
            return setUnstated(face_, row.property, trimmed(value));
        }
    }
    if (word == "Weight") {
        setWeightWord(face_, trimmed(value));
    } else if (word == "ItalicAngle") {
        if (const std::optional<double> angle = numberIn(trimmed(value))) {
            setItalicAngle(face_, *angle);
        }
    } else if (word == "IsFixedPitch") {
        face_.set("monospace", trimmed(value) == "true");
    } else if (word == "EndFontMetrics") {
        ended_ = true;
    }
}

void AfmFile::openSection(const Section& section, std::string_view count) {
    if (section_ != nullptr) {
        closeSection();
    }
    section_ = &section;
    claimed_ = countIn(count);
}

void AfmFile::closeSection() {
    if (section_ == &kSections[0]) {
        characters_ += met_;
    } else if (section_->kerning) {
        pairs_ = pairs_.value_or(0) + met_;
    }
    section_ = nullptr;
    met_ = 0;
}

}  // namespace

void readAfm(ByteView file, FaceContext& context, FontFaces& faces) {
    Face face(faces, context);
    face.set("format", "metrics");
    setContainer(face, "afm");
    if (face.spend(file.size())) {
        AfmFile(file, face).read();
    }
    addOutline(face, false);
}
