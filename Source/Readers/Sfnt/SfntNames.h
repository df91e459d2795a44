#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "SfntFont.h"

/// The texts of a font's 'name' table: of each name id the one that says most to most readers.
class SfntNames {
  public:
    /// Looks at the records; what is wrong with them becomes findings.
    explicit SfntNames(SfntFont& font);

    /// The text of a name id, the best first: Windows Unicode in US English; Unicode platform;
    /// Windows in any English; Macintosh Roman English; Windows in any language; Macintosh in any;
    /// whatever comes first. Empty when no record has one. UTF-8, white space and zeros at the end
    /// taken off.
    std::string text(unsigned id);

    /// Sets the properties that are name ids; `names` when it is asked for.
    void setProperties();

  private:
    struct Record {
        std::uint16_t platform, encoding, language, id;
        ByteView text;
    };
    // Orders by name id, then by what is best, then as the table does.
    struct Choice {
        std::uint32_t idAndRank;
        std::uint32_t index;
        bool operator<(const Choice& other) const {
            return idAndRank != other.idAndRank ? idAndRank < other.idAndRank : index < other.index;
        }
    };

    void readRecords(const FontTable& table);
    std::string decoded(const Record& record);
    void listAll();

    SfntFont& font_;
    std::vector<Record> records_;
    std::vector<Choice> choices_;
};
