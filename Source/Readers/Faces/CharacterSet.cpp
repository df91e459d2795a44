#include "CharacterSet.h"

#include <algorithm>
#include <bit>
#include <charconv>

namespace {

constexpr unsigned kWordBits = 64;

constexpr auto kByNumber = [](const CharacterSet::NumberedPage& page, std::uint32_t number) {
    return page.number < number;
};

// The bits `first` to `last` of a page set.
void fill(CharacterSet::Page& bits, unsigned first, unsigned last) {
    for (unsigned word = first / kWordBits; word <= last / kWordBits; ++word) {
        const unsigned low = word == first / kWordBits ? first % kWordBits : 0;
        const unsigned high = word == last / kWordBits ? last % kWordBits : kWordBits - 1;
        bits[word] |= ~std::uint64_t{0} << low & ~std::uint64_t{0} >> (kWordBits - 1 - high);
    }
}

// Joins characters that rise into ranges of text.
class RangeWriter {
  public:
    /// Ranges that touch become one.
    void add(char32_t first, char32_t last) {
        if (open_ && first == last_ + 1) {
            last_ = last;
            return;
        }
        write();
        first_ = first;
        last_ = last;
        open_ = true;
    }
    std::string finish() {
        write();
        return std::move(text_);
    }

  private:
    void write() {
        if (!open_) {
            return;
        }
        if (!text_.empty()) {
            text_ += ',';
        }
        writeNumber(first_);
        if (last_ != first_) {
            text_ += '-';
            writeNumber(last_);
        }
    }
    void writeNumber(char32_t character) {
        char digits[8];
        const auto end = std::to_chars(digits, digits + sizeof digits,
                                       static_cast<std::uint32_t>(character), 16);
        text_.append(digits, end.ptr);
    }

    std::string text_;
    char32_t first_ = 0;
    char32_t last_ = 0;
    bool open_ = false;
};

// The runs of set bits of one word whose first bit is the character `base`.
void addRuns(RangeWriter& writer, std::uint64_t word, char32_t base) {
    unsigned at = 0;
    while (word != 0) {
        const auto gap = static_cast<unsigned>(std::countr_zero(word));
        word >>= gap;
        at += gap;
        const auto run = static_cast<unsigned>(std::countr_one(word));
        writer.add(base + at, base + at + run - 1);
        word = run == kWordBits ? 0 : word >> run;
        at += run;
    }
}

}  // namespace

CharacterSet::Page& CharacterSet::otherPage(std::uint32_t number) {
    auto place = pages_.end();
    if (!pages_.empty() && number <= pages_.back().number) {
        place = std::lower_bound(pages_.begin(), pages_.end(), number, kByNumber);
    }
    if (place == pages_.end() || place->number != number) {
        place = pages_.insert(place, NumberedPage{number, Page{}});
    }
    last_ = static_cast<std::size_t>(place - pages_.begin());
    return place->bits;
}

void CharacterSet::addRange(char32_t first, char32_t last) {
    last = std::min(last, kLast);
    while (first <= last) {
        const char32_t pageEnd = first | (kPageBits - 1);
        fill(page(first / kPageBits), first % kPageBits, std::min(last, pageEnd) % kPageBits);
        first = pageEnd + 1;
    }
}

bool CharacterSet::contains(char32_t character) const {
    const auto place =
        std::lower_bound(pages_.begin(), pages_.end(), character / kPageBits, kByNumber);
    return place != pages_.end() && place->number == character / kPageBits &&
           (place->bits[character / kWordBits % 4] >> character % kWordBits & 1) != 0;
}

bool CharacterSet::containsAll(const CharacterSet& other) const {
    auto own = pages_.begin();
    for (const NumberedPage& wanted : other.pages_) {
        own = std::lower_bound(own, pages_.end(), wanted.number, kByNumber);
        if (own == pages_.end() || own->number != wanted.number) {
            return false;
        }
        for (std::size_t word = 0; word < wanted.bits.size(); ++word) {
            if ((wanted.bits[word] & ~own->bits[word]) != 0) {
                return false;
            }
        }
    }
    return true;
}

std::size_t CharacterSet::count() const {
    std::size_t result = 0;
    for (const NumberedPage& page : pages_) {
        for (const std::uint64_t word : page.bits) {
            result += static_cast<std::size_t>(std::popcount(word));
        }
    }
    return result;
}

std::string CharacterSet::ranges() const {
    RangeWriter writer;
    for (const NumberedPage& page : pages_) {
        for (unsigned word = 0; word < page.bits.size(); ++word) {
            addRuns(writer, page.bits[word], page.number * kPageBits + word * kWordBits);
        }
    }
    return writer.finish();
}
