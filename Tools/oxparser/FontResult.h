#pragma once

#include <boost/shared_ptr.hpp>
#include <string>

#include "OxFont.h"
#include "Result.h"

/// How many diagnostics of each kind a record carries.
struct DefectCounts {
    int errors = 0;
    int warnings = 0;
    int notes = 0;

    int all() const { return errors + warnings + notes; }
};

DefectCounts countDefects(const OxFont& font);

/// The text of a record's font type ("TTF"); "notSure" when it cannot be told.
std::string fontTypeText(const OxFont& font);

/// A font record as a result: what scan and check share.
class FontResult : public Result {
  public:
    explicit FontResult(const boost::shared_ptr<const OxFont>& font) : font_(font) {}

    nlohmann::ordered_json json() const override;
    std::string jsonText() const override;

  protected:
    /// What a reading adds behind the attributes.
    virtual void addToJson(nlohmann::ordered_json& /*object*/) const {}
    /// The same as text, each member with a comma behind it.
    virtual void addToText(std::string& /*json*/) const {}
    const OxFont& font() const { return *font_; }
    const boost::shared_ptr<const OxFont>& record() const { return font_; }

  private:
    nlohmann::ordered_json firstMembers() const;
    nlohmann::ordered_json lastMembers() const;

    const boost::shared_ptr<const OxFont> font_;
};
