#include "UnitTest.h"

#include <exception>

FontList taken(FontList* list) {
    const std::unique_ptr<FontList> owned(list);
    FontList fonts;
    if (owned) {
        fonts.transfer(fonts.end(), *owned);
    }
    return fonts;
}

std::string problems(const OxFont& font) {
    std::string text;
    for (const std::string& line : diagnosticLines(font)) {
        text += (text.empty() ? "" : "; ") + line;
    }
    return text;
}

std::string digestOf(const Bytes& bytes) {
    return md5Hex(ByteView(bytes));
}

std::string outcomeText(CopyOutcome outcome, const boost::system::error_code& error) {
    return copyOutcomeName(outcome) + (error ? " " + std::to_string(error.value()) : "");
}

std::string failedWith(int error) {
    return "failed " + std::to_string(error);
}

std::string textOfException(const std::function<void()>& failing) {
    try {
        failing();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "";
}

void forEachCut(const Bytes& bytes, const std::function<void(const Bytes&)>& use,
                std::size_t step) {
    for (std::size_t size = 0; size < bytes.size(); size += step) {
        SCOPED_TRACE("cut to " + std::to_string(size));
        use(Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)));
    }
}

void forEachFlip(const Bytes& bytes, std::initializer_list<unsigned> flips,
                 const std::function<void(const Bytes&)>& use) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        SCOPED_TRACE("flipped at " + std::to_string(i));
        for (const unsigned flip : flips) {
            Bytes flipped = bytes;
            flipped[i] = static_cast<std::uint8_t>(flipped[i] ^ flip);
            use(flipped);
        }
    }
}

OxFont parseMemory(OxParserTrueTypeImp& parser, const Bytes& bytes, OxFont start) {
    std::vector<ttf::tagFontDirectory> aligned(bytes.size() / 12 + 1);
    std::copy(bytes.begin(), bytes.end(), reinterpret_cast<std::uint8_t*>(aligned.data()));
    const FontList fonts =
        taken(parser.validate(start, aligned[0], static_cast<std::uint32_t>(bytes.size())));
    EXPECT_THAT(fonts, SizeIs(1));
    return OxFont(fonts.front());
}
