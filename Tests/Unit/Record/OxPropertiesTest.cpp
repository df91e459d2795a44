#include "OxProperties.h"

#include <gtest/gtest.h>

#include "OxFont.h"
#include "PropertyNames.h"

namespace {

std::vector<std::string> namesOf(const OxProperties& properties) {
    std::vector<std::string> names;
    for (const auto& [name, value] : properties) {
        names.push_back(name);
    }
    return names;
}

TEST(OxProperties, KeepTheOrderOfTheNamesWhateverTheOrderOfSetting) {
    OxFont font;
    for (const char* name : {"own", "languages", "family", "format", "weight", "other"}) {
        font.setProperty(name, name);
    }
    font.setProperty("family", "again");
    EXPECT_EQ(namesOf(font.properties()), (std::vector<std::string>{"format", "family", "weight",
                                                                    "languages", "own", "other"}));
    EXPECT_EQ(*font.properties().find("family")->text(), "again");
    font.removeProperty("weight");
    EXPECT_EQ(font.properties().find("weight"), nullptr);
}

TEST(OxProperties, AreCopiedMergedAndComparedDeeply) {
    const OxPropertyValue axis = OxProperties{{"tag", "wght"}, {"min", 100}, {"max", 900.5}};
    OxFont font;
    font.setProperty("axes", OxPropertyValue::List{axis});
    font.setProperty("italic", false);
    OxFont copy(font);
    EXPECT_EQ(copy.properties(), font.properties());
    copy.setProperty("axes", OxPropertyValue::List{axis, axis});
    EXPECT_FALSE(copy.properties() == font.properties());
    copy.setProperty("weight", 400);
    copy = font;
    EXPECT_EQ(copy.properties().find("axes")->list()->front().object()->size(), 3U);
    EXPECT_EQ(namesOf(copy.properties()), (std::vector<std::string>{"weight", "italic", "axes"}));
    // Kinds differ even where they look alike.
    EXPECT_FALSE(OxPropertyValue(1) == OxPropertyValue(true));
    EXPECT_FALSE(OxPropertyValue("1") == OxPropertyValue(1));
}

}  // namespace
