#pragma once

#include "OxParser.h"
#include "ScanHost.h"
#include "UnitTest.h"

const fs::path kNoList = "/nonexistent/list";

/// A folder of test files and coordinators over it.
class ScanTest : public testing::Test {
  protected:
    void writeFiles(int count) const {
        for (int i = 0; i < count; ++i) {
            folder.write(std::to_string(i) + ".tst", "");
        }
    }
    /// A coordinator over the folder, with a parser for its test files.
    std::unique_ptr<OxParser> coordinator(
        const ScriptedParser::Parse& parse = ScriptedParser::oneRecord,
        const ScriptedParser::Inspect& inspect = ScriptedParser::takesTestFiles) const {
        auto parser = std::make_unique<OxParser>(folder.path(), kNoList, kNoList);
        parser->addParserImp(new ScriptedParser(parse, inspect));
        return parser;
    }

    TemporaryFolder folder;
};
