#include "Result.h"

#include <nlohmann/json.hpp>

std::string Result::jsonText() const {
    return json().dump();
}
