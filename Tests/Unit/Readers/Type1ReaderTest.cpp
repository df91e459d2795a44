#include "Type1Reader.h"

#include "ReaderTest.h"
#include "Type1Builder.h"

namespace {

std::string encrypted(std::string_view clear) {
    std::uint16_t key = 55665;
    std::string out;
    for (const char c : "\xD9 ab" + std::string(clear)) {
        const auto byte = static_cast<std::uint8_t>(static_cast<std::uint8_t>(c) ^ key >> 8);
        key = static_cast<std::uint16_t>((byte + key) * 52845U + 22719U);
        out.push_back(static_cast<char>(byte));
    }
    return out;
}

std::string hexadecimal(std::string_view bytes, std::string_view lineEnd) {
    std::string out;
    for (const char c : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<std::uint8_t>(c));
        out.append(digits).append(out.size() % 64 > 61 ? lineEnd : "");
    }
    return out;
}

std::string segment(char type, std::string_view content) {
    std::string out{'\x80', type};
    for (unsigned shift = 0; shift < 32; shift += 8) {
        out.push_back(static_cast<char>(content.size() >> shift));
    }
    return out.append(content);
}

// A program of three glyphs, one of them long enough for several of the decoder's tiles.
const std::string kPrivate =
    "dup /Private 8 dict dup begin /Subrs 1 array dup 0 3 RD /Ch NP "
    "2 index /CharStrings 3 dict dup begin /.notdef 1 RD \x01 ND /A 2 RD / ND /Aacute.alt 5000 "
    "RD " +
    std::string(5000, '(') + " ND end end readonly put";

std::string clearText(std::string_view entries, std::string_view lineEnd = "\n") {
    return type1Text(
        {"%!PS-AdobeFont-1.0: Acme-Bold (/FontName /Wrong def", "/FontInfo 9 dict dup begin",
         entries, "end readonly def", "/FontType 1 def", "currentfile eexec"},
        lineEnd);
}

const std::string kAcme =
    "/version(001.003)readonly def/FullName (Acme Bold) def /FamilyName (Acme) def /Weight (Bold) "
    "def /ItalicAngle -12.5 def /isFixedPitch false def /FontName /Acme-Bold def /Encoding "
    "StandardEncoding def ";

std::string pfb(const std::string& clear, const std::string& secret) {
    return segment(1, clear) + segment(2, secret) + segment(1, "cleartomark") + "\x80\x03";
}

OxFont read(const std::string& program, const std::string& container = "") {
    return readOne(readType1, program, container);
}

TEST(Type1Reader, ReadsEveryFormAlike) {
    const std::string secret = encrypted(kPrivate);
    const std::string crlf = clearText(kAcme, "\r\n");
    const std::string expected =
        "family=Acme fullName=Acme Bold postscriptName=Acme-Bold version=001.003 weight=700 "
        "italic=true monospace=false symbol=false italicAngle=-12.5 glyphs=3 codepoints=2 "
        "coverage=41,c1 languages=[] encoding=StandardEncoding";
    const std::string clear = clearText(kAcme);
    const std::size_t half = secret.size() / 2;
    const std::pair<std::string, std::string> forms[] = {
        {pfb(clear, secret), "pfb 9"},
        {segment(1, clear.substr(0, 99)) + segment(1, clear.substr(99)) +
             segment(2, secret.substr(0, half)) + segment(2, secret.substr(half)) + "\x80\x03",
         "pfb 9"},
        {segment(1, clear + hexadecimal(secret, "\n")) + "\x80\x03", "pfb 9"},
        {"\xEF\xBB\xBF \r\n" + crlf + hexadecimal(secret, "\r\n"), "pfa 20"},
        {clearText(kAcme, "\r") + hexadecimal(secret, "\r"), "pfa 20"},
        {clearText(kAcme, "\r") + secret, "pfa 20"},
    };
    for (const auto& [bytes, form] : forms) {
        const OxFont font = read(bytes);
        EXPECT_EQ("format=type1 container=" + form.substr(0, 3) + " " + expected, shown(font));
        EXPECT_EQ(form.substr(4), std::to_string(font.getFontType()));
        EXPECT_EQ("", problems(font));
    }
    EXPECT_EQ(OxFont::T1Outline, read(clear + secret, "printer-font").getFontType());
}

TEST(Type1Reader, ReadsTheEntriesOfADictionary) {
    const struct {
        std::string entries;
        std::string property;
        std::string expected;
    } rows[] = {
        {"/Notice (a \\(b (c) \\251 \\\r\nd\\n) def", "copyright", "a (b (c) \xC2\xA9 d"},
        {"/Notice (n) def /Copyright (c) def", "copyright", "c"},
        {"/Notice <4163 6D 65 7> def", "copyright", "Acmep"},
        {"/FullName (\xC3\xA9) def", "fullName", "\xC3\xA9"},
        {"/FullName (\xE9) def", "fullName", "\xC3\xA9"},
        {"% /FullName (no) def\r/FullName (yes) def", "fullName", "yes"},
        {"{/FullName (no)} pop /FullName (yes) def /FullName (late) def", "fullName", "yes"},
        {"/Weight (Semi Bold) def", "weight", ""},
        {"/Weight (ULTRA) def", "weight", "800"},
        {"/ItalicAngle 0 def", "italic", "false"},
        {"/isFixedPitch true def", "monospace", "true"},
        {"/Encoding ISOLatin1Encoding def", "encoding", "ISOLatin1Encoding"},
        {"/Encoding 256 array dup 65 /FullName put readonly def", "encoding", "custom"},
        {"/BlendAxisTypes [/Weight /Serif] def /BlendDesignPositions [[0 0][1 0][0 1][1 1]] def "
         "/BlendDesignMap [[[200 0][400 0.5][900 1]] [[0 0][10 1]]] def "
         "/WeightVector [0.25 0.25 0.25 0.25] def",
         "axes",
         "[{tag=wght name=Weight min=200 default=400 max=900},"
         "{name=Serif min=0 default=5 max=10}]"},
        {"/BlendAxisTypes [/Weight] def /BlendDesignPositions " + std::string(100000, '[') +
             " def /BlendDesignMap [[[1 0][2 1]]] def /WeightVector [1 0] def",
         "axes", "[{tag=wght name=Weight min=1 max=2}]"},
    };
    for (const auto& row : rows) {
        const OxFont font = read(pfb(clearText(row.entries), encrypted(kPrivate)));
        EXPECT_EQ(row.expected, shown(font, row.property)) << row.entries.substr(0, 80);
    }
}

TEST(Type1Reader, TellsASymbolFontByItsGlyphs) {
    const std::string symbols =
        "/Private 1 dict /CharStrings 2 dict dup begin /space 1 RD a ND /a1 1 RD a ND end";
    EXPECT_EQ("true",
              shown(read(pfb(clearText("/Encoding 256 array def"), encrypted(symbols))), "symbol"));
    EXPECT_EQ("false",
              shown(read(pfb(clearText("/Encoding StandardEncoding def"), encrypted(symbols))),
                    "symbol"));
}

TEST(Type1Reader, SaysWhatIsDamaged) {
    const std::string clear = clearText(kAcme);
    const std::string secret = encrypted(kPrivate);
    const std::string sound = pfb(clear, secret);
    const std::string zero = std::string(1, '\0') + sound.substr(1);
    std::string more = kPrivate;
    more.replace(more.find("CharStrings 3"), 13, "CharStrings 9");
    std::string wrongLength = sound;
    wrongLength[2] = 100;  // of the clear text, which is longer
    const std::pair<std::string, std::string> rows[] = {
        {sound.substr(0, sound.size() - 2), "note 20301"},
        {zero, "error 20302 0x00, should be 0x80"},
        {sound.substr(0, sound.size() - 6), "warning 20300 11 bytes, there are 7"},
        {sound.substr(0, clear.size() + 300),
         "warning 20300 " + std::to_string(secret.size()) +
             " bytes, there are 288; error 20307 2 of 3 glyphs are whole"},
        {segment(1, clear) + "\x80\x03", "error 20304"},
        {pfb(clear, "nothing that was encrypted"), "error 20305"},
        {pfb(clear, encrypted("/Private 3 dict")), "error 20306"},
        {pfb(clear, encrypted(more)), "note 20308 3, claimed are 9"},
        {pfb(clearText("/FontName /X def"), secret), "warning 20309 /Encoding"},
        {pfb(clearText("/Notice (open\n" + kAcme), secret), "warning 20310"},
        {wrongLength, "warning 20303 "},
    };
    for (const auto& [bytes, expected] : rows) {
        const OxFont font = read(bytes);
        EXPECT_THAT(problems(font), testing::StartsWith(expected));
        EXPECT_EQ(expected.find("/Encoding") == expected.npos ? "Acme-Bold" : "X",
                  shown(font, "postscriptName"));
    }
    EXPECT_EQ("3", shown(read(wrongLength), "glyphs"));
}

TEST(Type1Reader, ReadsType42AndCidPrograms) {
    const OxFont type42 =
        readOne(readType42,
                "%!PS-TrueTypeFont-1.0\n/FontName /Acme def /FontType 42 def /Encoding "
                "StandardEncoding def /sfnts [<00010000(>] def /CharStrings 2 dict dup begin "
                "/.notdef 0 def /B 1 def end readonly def");
    EXPECT_EQ(
        "format=type42 container=pfa postscriptName=Acme symbol=false glyphs=2 codepoints=1 "
        "coverage=42 languages=[] encoding=StandardEncoding",
        shown(type42));
    EXPECT_EQ("", problems(type42));
    const OxFont cid =
        readOne(readCidProgram,
                "%!PS-Adobe-3.0 Resource-CIDFont\r/CIDFontName /Acme-CID def /CIDCount 8720 "
                "def /FDArray 1 array dup 0 /FontName /Part def (Binary) 9 StartData "
                "/CIDCount 1 def");
    EXPECT_EQ("format=cid container=pfa postscriptName=Acme-CID glyphs=8720", shown(cid));
    EXPECT_EQ("", problems(cid));
}

// A CFF font of two glyphs, .notdef and one named by the string `glyph`.
std::string cff(const std::string& glyph) {
    const auto index = [](std::initializer_list<std::string> objects) {
        std::string out{'\0', static_cast<char>(objects.size()), '\1', '\1'};
        std::string data;
        for (const std::string& object : objects) {
            data += object;
            out.push_back(static_cast<char>(data.size() + 1));
        }
        return out + data;
    };
    const auto number = [](std::size_t value) {
        return std::string{'\x1C', static_cast<char>(value >> 8), static_cast<char>(value)};
    };
    const std::string head = std::string("\1\0\4\1", 4) + index({"Acme-Bold"});
    const std::string strings = index({"Acme Bold", glyph});
    constexpr std::size_t kTopSize = 5 + 25;
    const std::size_t charset = head.size() + kTopSize + strings.size() + 2;
    // FullName, Weight (a standard string), ItalicAngle -1.5, isFixedPitch, charset, CharStrings
    const std::string top = number(391) + '\2' + number(384) + '\4' + "\x1E\xE1\xA5\xFF\x0C\2" +
                            "\x8C\x0C\1" + number(charset) + '\x0F' + number(charset + 3) + '\x11';
    return head + index({top}) + strings + std::string(2, '\0') + std::string("\0\1\x88", 3) +
           index({"\x0E", "\x0E"});
}

TEST(Type1Reader, ReadsBareCff) {
    EXPECT_EQ("", problems(readOne(readBareCff, cff("Aacute"))));
    EXPECT_EQ(
        "format=cff container=cff fullName=Acme Bold postscriptName=Acme-Bold weight=700 "
        "italic=true monospace=true italicAngle=-1.5 glyphs=2 codepoints=1 coverage=c1 "
        "languages=[]",
        shown(readOne(readBareCff, cff("Aacute"))));
    const std::string font = cff("A");
    for (std::size_t size = 4; size < font.size(); ++size) {
        EXPECT_THAT(problems(readOne(readBareCff, font.substr(0, size))),
                    testing::StartsWith("error 2032"))
            << size;
    }
}

TEST(Type1Reader, SurvivesEveryTruncation) {
    const std::string font = pfb(clearText(kAcme), encrypted(kPrivate));
    for (std::size_t size = 0; size < font.size(); ++size) {
        EXPECT_NE("", problems(read(font.substr(0, size)))) << size;
    }
}

}  // namespace
