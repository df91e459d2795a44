#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>

#include "BigEndian.h"
#include "CopyOutcome.h"
#include "Md5.h"
#include "OxParserTrueTypeImp.h"
#include "Support.h"

// What nearly every unit test uses.

namespace fs = boost::filesystem;

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using testing::UnorderedElementsAre;

using Attributes = std::map<std::string, std::string>;
using FontList = boost::ptr_vector<OxFont>;
using Lines = std::vector<std::string>;

/// The records of a parser's answer, which is taken over; a null list is an empty one.
FontList taken(FontList* list);
/// A record's diagnostics in one line: "error 11103 1; warning 0 text".
std::string problems(const OxFont& font);
std::string digestOf(const Bytes& bytes);
/// What became of a copy: "copied", "failed 2" with the number of the error.
std::string outcomeText(CopyOutcome outcome, const boost::system::error_code& error);
std::string failedWith(int error);
/// What `failing` throws says so; empty when it throws nothing.
std::string textOfException(const std::function<void()>& failing);

/// The rows of a table in Tests/Data: fields between tabs, "\xNN", "\r", "\n", "\t" and "\\" for
/// bytes; lines that begin with "#" say what the columns are.
std::vector<Lines> rowsOf(const std::string& table);

/// Runs the in-memory entry, which reads 'kern', on a font's bytes.
OxFont parseMemory(OxParserTrueTypeImp& parser, const Bytes& bytes, OxFont start = OxFont());

/// A parser, made of these arguments, and a folder for the files that it is given.
template <typename Parser, int... arguments>
class ParserTest : public testing::Test {
  protected:
    explicit ParserTest(const char* fileName) : fileName_(fileName) {}

    FontList parse(const fs::path& file) { return taken(parser.parseFontFile(file)); }
    FontList parse(const Bytes& bytes) { return parse(folder.write(fileName_, bytes)); }
    /// The one record of a file.
    template <typename File>
    OxFont one(const File& file) {
        const FontList fonts = parse(file);
        EXPECT_THAT(fonts, SizeIs(1));
        return fonts.empty() ? OxFont() : OxFont(fonts.front());
    }

    TemporaryFolder folder;
    Parser parser{arguments...};

  private:
    const char* fileName_;
};
