#include "FuzzTarget.h"

#include <algorithm>

namespace {

std::vector<const FuzzTarget*>& registered() {
    static std::vector<const FuzzTarget*> targets;
    return targets;
}

}  // namespace

FuzzTarget::FuzzTarget(const char* targetName, Run target) : name(targetName), run(target) {
    registered().push_back(this);
}

const FuzzTarget* FuzzTarget::find(std::string_view name) {
    const auto& targets = registered();
    const auto found = std::find_if(targets.begin(), targets.end(),
                                    [name](const FuzzTarget* t) { return t->name == name; });
    return found != targets.end() ? *found : nullptr;
}
