#include <sys/stat.h>

#include <boost/smart_ptr/make_shared.hpp>
#include <map>
#include <stdexcept>

#include "OxFontImporter.h"
#include "UnitTest.h"

namespace {

class ModernImport : public testing::Test {
  protected:
    ModernImport() { restart(); }

    void restart() {
        importer =
            std::make_unique<OxFontImporter>(std::queue<fs::path>(), target, "/none", "/none");
        importer->parser().setReading(Reading::eModern);
        importer->setCreateFolders(true);
        importer->copyCallbacks.push_back([this](const FontCopy& copy) {
            copies.push_back(outcomeText(copy.outcome, copy.error) + " " +
                             copy.source.filename().string() + " " +
                             copy.destination.lexically_relative(target).string());
        });
        copies.clear();
    }

    // A record of a file below "in", which names partners in its folder.
    void add(const std::string& file, const std::string& family,
             const std::vector<std::string>& partners = {}, const std::string& foundry = "Acme",
             const std::string& format = "truetype") {
        const fs::path path = folder.path() / "in" / file;
        const auto font = boost::make_shared<OxFont>();
        font->setAttribute(eFontFilePath, path.parent_path().string());
        font->setAttribute(eFileName, path.filename().string());
        font->setAttribute(eFamilyname, family);
        font->setPrinterFontAttributes({{eFoundry, foundry}});
        OxPropertyValue::List list;
        for (const std::string& partner : partners) {
            list.emplace_back((path.parent_path() / partner).string());
        }
        font->setProperty("format", format);
        font->setProperty("printerFonts", list);
        importer->fontProgress(1, 1, font);
    }
    std::vector<std::string> place() {
        EXPECT_TRUE(copies.empty()) << "nothing before the end";
        importer->parser().NotifyFontCompletion(false);
        EXPECT_FALSE(importer->syncError());
        return copies;
    }

    TemporaryFolder folder;
    fs::path target = folder.path() / "target";
    std::unique_ptr<OxFontImporter> importer;
    std::vector<std::string> copies;
};

TEST_F(ModernImport, PartnersGoTogetherByTheirBestRecord) {
    for (const char* name : {"Chart", "Chart.suit", "a.afm", "a.inf", "a.pfb", "x.ttc", "z.suit",
                             "b.afm", "b.pfb", "c.pfm", "c.pfb"}) {
        folder.write(std::string("in/") + name, name);
    }
    add("Chart", "Charter", {}, "Bitstream", "type1");                   // before what names it
    add("Chart.suit", "Chart", {"Chart", "gone"}, "Unknown", "bitmap");  // the latter is not there
    add("a.afm", "Avant", {"a.pfb"}, "Adobe", "metrics");
    add("a.pfb", "Avant Garde", {"a.afm", "a.inf"}, "Unknown", "type1");
    add("b.afm", "Bodoni", {"b.pfb"}, "Adobe", "metrics");
    add("b.pfb", "", {"b.afm"}, "Unknown", "type1");
    add("c.pfm", "", {"c.pfb"}, "Unknown", "metrics");
    add("c.pfb", "", {}, "Adobe", "type1");
    add("x.ttc", "One", {}, "Unknown");
    add("x.ttc", "Two");
    add("z.suit", "Zapf", {"Chart"}, "Acme", "bitmap");  // shares it with the other suitcase
    EXPECT_THAT(
        place(),
        ElementsAre(
            "copied Chart C/Charter/Bitstream/Chart",
            "copied Chart.suit C/Charter/Bitstream/Chart.suit",
            "copied a.afm A/Avant Garde/Unknown/a.afm", "copied a.pfb A/Avant Garde/Unknown/a.pfb",
            "copied a.inf A/Avant Garde/Unknown/a.inf", "copied b.afm B/Bodoni/Adobe/b.afm",
            "copied b.pfb B/Bodoni/Adobe/b.pfb", "copied c.pfm Unknown/c.pfm",
            "copied c.pfb Unknown/c.pfb", "copied x.ttc T/Two/Acme/x.ttc",
            "same-file x.ttc T/Two/Acme/x.ttc", "copied z.suit C/Charter/Bitstream/z.suit"));
    restart();
    add("a.afm", "Avant", {"a.pfb"}, "Adobe", "metrics");
    add("a.pfb", "Avant Garde", {"a.afm", "a.inf"}, "Unknown", "type1");
    EXPECT_THAT(place(), ElementsAre("same a.afm A/Avant Garde/Unknown/a.afm",
                                     "same a.pfb A/Avant Garde/Unknown/a.pfb",
                                     "same a.inf A/Avant Garde/Unknown/a.inf"));
}

TEST_F(ModernImport, NamesAreSafeAndEqualButForCaseShareAFolder) {
    folder.write("in/a:b.ttf", "1");
    folder.write("in/c.ttf", "2");
    folder.write("in/d\xE9.ttf", "3");
    folder.write("in/e.afm", "4");
    folder.write("in/d\xE9.afm", "5");
    fs::create_directories(target / "a" / "ACME");
    add("a:b.ttf", "../Acme");
    add("c.ttf", "Acme", {}, "ACME");
    add("c.ttf", "", {}, "");
    add("d\xE9.ttf", "\xC3\x89toile", {"d\xC3\xA9.afm"});  // a property's text is UTF-8
    add("d\xE9.afm", "etoile");
    add("e.afm", "e\xCC\x81toile");
    const std::string etoile = "\xC3\x89/\xC3\x89toile/Acme/";
    EXPECT_THAT(place(),
                ElementsAre("copied a:b.ttf _/_Acme/Acme/a_b.ttf", "copied c.ttf a/ACME/ACME/c.ttf",
                            "same-file c.ttf a/ACME/ACME/c.ttf",
                            "copied d\xE9.ttf " + etoile + "d\xC3\xA9.ttf",
                            "copied d\xE9.afm " + etoile + "d\xC3\xA9.afm",
                            "copied e.afm " + etoile + "e.afm"));
}

// What two runs and a rehearsal before them say of two families that want the same names.
TEST_F(ModernImport, KeepsBothWhenThatIsWanted) {
    for (const char* name : {"1/x.ttf", "2/x.ttf", "3/x.ttf", "1/S.suit", "1/P", "2/S.suit", "2/P",
                             "3/S.suit", "3/P"}) {
        folder.write(std::string("in/") + name, name);
    }
    folder.write("in/3/x.ttf", "2/x.ttf");    // equal to the second
    folder.write("in/2/S.suit", "1/S.suit");  // equal, but its partner differs
    folder.write("target/X/X/Acme/x.ttf", "the user's own");
    const auto run = [this](bool keepBoth, bool dryRun) {
        restart();
        importer->setKeepBoth(keepBoth);
        importer->setDryRun(dryRun);
        for (const std::string number : {"1", "2", "3"}) {
            add(number + "/x.ttf", "X");
            add(number + "/S.suit", "S", {"P"});
        }
        return place();
    };
    const std::vector<std::string> kept = {"copied x.ttf X/X/Acme/x-2.ttf",
                                           "copied S.suit S/S/Acme/S.suit",
                                           "copied P S/S/Acme/P",
                                           "copied x.ttf X/X/Acme/x-3.ttf",
                                           "copied S.suit S/S/Acme/S-2/S.suit",
                                           "copied P S/S/Acme/S-2/P",
                                           "same x.ttf X/X/Acme/x-3.ttf",
                                           "copied S.suit S/S/Acme/S-3/S.suit",
                                           "copied P S/S/Acme/S-3/P"};
    EXPECT_EQ(run(true, true), kept);
    EXPECT_EQ(run(true, false), kept);
    std::vector<std::string> again = kept;
    for (std::string& line : again) {
        line = "same" + line.substr(line.find(' '));
    }
    EXPECT_EQ(run(true, false), again);
    EXPECT_EQ(run(true, true), again);
    EXPECT_THAT(run(false, false), testing::Contains("differs P S/S/Acme/P").Times(2));
    EXPECT_EQ(readFile(target / "X/X/Acme/x.ttf"), bytesOf("the user's own"));
}

TEST_F(ModernImport, NothingIsPlacedOnceItIsCancelled) {
    folder.write("in/a.ttf", "a");
    folder.write("in/b.ttf", "b");
    add("a.ttf", "A");
    add("b.ttf", "B");
    importer->parser().NotifyFileCompletion(true);
    EXPECT_THAT(place(), IsEmpty());
    EXPECT_EQ(importer->leftOut(), 2u);
    EXPECT_FALSE(fs::exists(target));

    restart();
    add("a.ttf", "A");
    add("b.ttf", "B");
    importer->copyCallbacks.push_back([this](const FontCopy&) {
        importer->cancel();
        throw std::runtime_error("a host's trouble");
    });
    EXPECT_THAT(place(), ElementsAre("copied a.ttf A/A/Acme/a.ttf"));
    EXPECT_EQ(importer->leftOut(), 1u);
}

TEST_F(ModernImport, RecordsKeepWhatAHostShows) {
    const fs::path path = folder.write("in/a.ttf", "a");
    const auto font = boost::make_shared<OxFont>();
    font->setAttribute(eFontFilePath, path.parent_path().string());
    font->setAttribute(eFileName, "a.ttf");
    font->setAttribute(eFullname, "Acme Bold");
    font->setAttribute(eCopyright, std::string(5000, 'c'));
    font->setPrinterFontAttributes({{eFoundry, "Copyrighted"}});
    font->setProperty("format", "cff");
    font->setProperty("coverage", "20-7e");
    font->setSourceFile(path);
    font->addDiagnostic(eWarning, 11013, "found", {.table = "name"});
    importer->copyCallbacks.push_back([&](const FontCopy& copy) {
        EXPECT_EQ(copy.font->getAttribute(eFullname), "Acme Bold");
        EXPECT_EQ(copy.font->getAttribute(eFoundry), "Copyrighted");
        EXPECT_EQ(copy.font->getAttribute(eFontFilePath), "Copyrighted");
        EXPECT_EQ(copy.font->getAttribute(eCopyright), "");
        EXPECT_EQ(*copy.font->properties().find("format"), "cff");
        EXPECT_EQ(copy.font->properties().size(), 1u);
        EXPECT_EQ(copy.font->sourceFile(), path);
        ASSERT_EQ(copy.font->diagnostics().size(), 1u);
        EXPECT_EQ(copy.font->diagnostics()[0].where.table, "name");
    });
    importer->fontProgress(1, 1, font);
    EXPECT_THAT(place(), ElementsAre("copied a.ttf Copyrighted/a.ttf"));
}

}  // namespace
