#include "BlendDesign.h"

#include <cmath>

#include "TextDecoding.h"

namespace {

using Kind = PostScriptToken::Kind;

struct RegisteredAxis {
    std::string_view type;
    std::string_view tag;  // OpenType's registered axes of the same meaning
};

constexpr RegisteredAxis kRegistered[] = {
    {"Weight", "wght"},
    {"Width", "wdth"},
    {"OpticalSize", "opsz"},
};

std::string tagOf(const std::string& type) {
    for (const RegisteredAxis& axis : kRegistered) {
        if (axis.type == type) {
            return std::string(axis.tag);
        }
    }
    return {};
}

// Reads an array of arrays, of which deeper ones are taken as part of their row. No row is longer
// than `mostNumbers` and there are at most `mostRows`, whatever the array holds.
std::vector<std::vector<double>> readRows(PostScriptScanner& scanner, std::size_t mostRows,
                                          std::size_t mostNumbers) {
    std::vector<std::vector<double>> rows;
    for (std::size_t depth = 1; depth > 0;) {
        const PostScriptToken token = scanner.next();
        if (token.is(Kind::eEnd) || token.isWord("def") || token.isWord("eexec")) {
            break;
        }
        if (token.is(Kind::eArrayBegin) && ++depth == 2 && rows.size() < mostRows) {
            rows.emplace_back();
        }
        depth -= token.is(Kind::eArrayEnd) ? 1U : 0U;
        if (token.is(Kind::eWord) && !rows.empty() && rows.back().size() < mostNumbers) {
            rows.back().push_back(numberIn(token.text).value_or(0));
        }
    }
    return rows;
}

}  // namespace

void BlendDesign::readAxisTypes(PostScriptScanner& scanner) {
    std::vector<std::string> types;
    for (PostScriptToken token = scanner.next(); token.is(Kind::eName); token = scanner.next()) {
        if (types.size() < kMostAxes) {
            types.push_back(fromUnstated(token.text));
        }
    }
    if (types_.empty()) {
        types_ = std::move(types);
    }
}

void BlendDesign::readDesignMap(PostScriptScanner& scanner) {
    Rows rows = readRows(scanner, kMostAxes, 2 * kMostMapPoints);
    if (map_.empty()) {
        map_ = std::move(rows);
    }
}

void BlendDesign::readDesignPositions(PostScriptScanner& scanner) {
    Rows rows = readRows(scanner, kMostMasters, kMostAxes);
    if (positions_.empty()) {
        positions_ = std::move(rows);
    }
}

void BlendDesign::readWeightVector(PostScriptScanner& scanner) {
    std::vector<double> weights;
    PostScriptToken token = scanner.next();
    for (; token.is(Kind::eWord) && weights.size() < kMostMasters; token = scanner.next()) {
        weights.push_back(numberIn(token.text).value_or(0));
    }
    if (weights_.empty()) {
        weights_ = std::move(weights);
    }
}

std::vector<BlendDesign::MapPoint> BlendDesign::pointsOf(std::size_t axis) const {
    std::vector<MapPoint> points;
    if (axis < map_.size()) {
        for (std::size_t i = 0; i + 1 < map_[axis].size(); i += 2) {
            points.push_back({map_[axis][i], map_[axis][i + 1]});
        }
    }
    return points;
}

// The user value of a place on an axis, between the map's points by proportion.
double BlendDesign::userValue(const std::vector<MapPoint>& points, double design) {
    for (std::size_t i = 1; i < points.size(); ++i) {
        const MapPoint& low = points[i - 1];
        const MapPoint& high = points[i];
        if (low.design <= design && design < high.design) {
            const double share = (design - low.design) / (high.design - low.design);
            return low.user + (high.user - low.user) * share;
        }
    }
    return design < points.front().design ? points.front().user : points.back().user;
}

// The program's own place on an axis: the masters' places by their weights.
bool BlendDesign::defaultDesign(std::size_t axis, double& design) const {
    if (weights_.empty() || weights_.size() != positions_.size()) {
        return false;
    }
    design = 0;
    for (std::size_t master = 0; master < weights_.size(); ++master) {
        if (axis >= positions_[master].size()) {
            return false;
        }
        design += weights_[master] * positions_[master][axis];
    }
    return true;
}

void BlendDesign::addTo(Face& face) const {
    OxPropertyValue::List axes;
    for (std::size_t axis = 0; axis < types_.size(); ++axis) {
        OxProperties entry;
        if (const std::string tag = tagOf(types_[axis]); !tag.empty()) {
            entry.set("tag", tag);
        }
        entry.set("name", types_[axis]);
        const std::vector<MapPoint> points = pointsOf(axis);
        if (!points.empty()) {
            entry.set("min", points.front().user);
            double design = 0;
            const bool placed = defaultDesign(axis, design);
            const double user = std::round(userValue(points, design) * 1000) / 1000;
            if (placed && std::isfinite(user)) {
                entry.set("default", user);
            }
            entry.set("max", points.back().user);
        }
        axes.emplace_back(std::move(entry));
    }
    if (!axes.empty()) {
        face.set("axes", std::move(axes));
    }
}
