#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "Export.h"

class OxProperties;

/// The value of a property: text (UTF-8), a number, true or false, a list of values, or an object
/// of named ones. Owns everything it holds; copies are deep.
class OXPARSER_EXPORT OxPropertyValue {
  public:
    using List = std::vector<OxPropertyValue>;

    /// An empty text.
    OxPropertyValue();
    OxPropertyValue(std::string text);
    OxPropertyValue(std::string_view text);
    OxPropertyValue(const char* text);
    OxPropertyValue(bool flag);
    OxPropertyValue(double number);
    OxPropertyValue(int number);
    OxPropertyValue(unsigned number);
    OxPropertyValue(long number);
    OxPropertyValue(unsigned long number);
    OxPropertyValue(List list);
    OxPropertyValue(OxProperties object);
    OxPropertyValue(const OxPropertyValue& other);
    OxPropertyValue(OxPropertyValue&& other) noexcept;
    OxPropertyValue& operator=(const OxPropertyValue& other);
    OxPropertyValue& operator=(OxPropertyValue&& other) noexcept;
    ~OxPropertyValue();

    /// The value when it is of this kind, else null. Stays valid until the value is assigned to.
    const std::string* text() const { return std::get_if<std::string>(&value_); }
    const double* number() const { return std::get_if<double>(&value_); }
    const bool* flag() const { return std::get_if<bool>(&value_); }
    const List* list() const { return std::get_if<List>(&value_); }
    const OxProperties* object() const;

    bool operator==(const OxPropertyValue& other) const;

  private:
    // An object is kept as its one element, since its type is not complete yet.
    struct Object {
        std::vector<OxProperties> one;
        bool operator==(const Object& other) const;
    };
    std::variant<std::string, double, bool, List, Object> value_;
};

/// Names and values in a fixed order; a name occurs once.
class OXPARSER_EXPORT OxProperties {
  public:
    using Entry = std::pair<std::string, OxPropertyValue>;
    using const_iterator = std::vector<Entry>::const_iterator;

    OxProperties();
    OxProperties(std::initializer_list<Entry> entries);

    /// Replaces the value of a name that is there, in its place; else appends.
    void set(std::string_view name, OxPropertyValue value);
    /// The same, before the entry at `position`.
    void insert(std::size_t position, std::string_view name, OxPropertyValue value);
    void remove(std::string_view name);
    /// Null when there is none. Stays valid until an entry is added or removed.
    const OxPropertyValue* find(std::string_view name) const;

    bool empty() const { return entries_.empty(); }
    std::size_t size() const { return entries_.size(); }
    const_iterator begin() const { return entries_.begin(); }
    const_iterator end() const { return entries_.end(); }

    bool operator==(const OxProperties& other) const { return entries_ == other.entries_; }

  private:
    std::vector<Entry> entries_;
};
