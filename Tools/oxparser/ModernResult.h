#pragma once

#include <string>

#include "FontResult.h"

/// A record of the modern reading as a result: with its properties.
class ModernResult : public FontResult {
  public:
    using FontResult::FontResult;

  protected:
    void addToJson(nlohmann::ordered_json& object) const override;
    void addToText(std::string& json) const override;
};

/// The name that keeps a family together: the typographic one where there is any.
std::string familyName(const OxFont& font);
