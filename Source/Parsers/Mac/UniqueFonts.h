#pragma once

#include <boost/ptr_container/ptr_vector.hpp>
#include <string>
#include <unordered_map>

#include "OxFont.h"

/// Adds records to a list that holds no two equal ones (OxFontComparer), at a cost that does not
/// grow with the list. The list must outlive the object and is changed through it alone.
class UniqueFonts {
  public:
    explicit UniqueFonts(boost::ptr_vector<OxFont>& fonts);

    /// Appends the record as it is; it counts in later comparisons.
    void append(OxFont* font);
    /// Appends a copy unless an equal record is there; answers whether it did.
    bool add(const OxFont& font);

  private:
    static std::string keyOf(const OxFont& font);

    boost::ptr_vector<OxFont>& fonts_;
    std::unordered_multimap<std::string, const OxFont*> index_;
};
