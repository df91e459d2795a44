#include "FuzzTarget.h"

namespace {

std::vector<const FuzzTarget*>& registered() {
    static std::vector<const FuzzTarget*> targets;
    return targets;
}

}  // namespace

FuzzTarget::FuzzTarget(const char* targetName, Run target) : name(targetName), run(target) {
    registered().push_back(this);
}

const std::vector<const FuzzTarget*>& FuzzTarget::all() {
    return registered();
}
