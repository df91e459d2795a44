#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Face.h"
#include "PostScriptScanner.h"

/// What a multiple-master program says of its axes (Adobe Technical Note 5015, Type 1 Font Format
/// Supplement, chapter 3).
class BlendDesign {
  public:
    /// Each reads the array behind its key: the scanner is behind the opening bracket, and then
    /// behind the closing one. The first array of a key counts.
    void readAxisTypes(PostScriptScanner& scanner);
    void readDesignMap(PostScriptScanner& scanner);
    void readDesignPositions(PostScriptScanner& scanner);
    void readWeightVector(PostScriptScanner& scanner);

    /// The axes in user values: from the map, the default by the weights of the master designs.
    /// Sets nothing when the program states no axis.
    void addTo(Face& face) const;

  private:
    // By Type 1 Font Format Supplement 3.2 and 3.6.
    static constexpr std::size_t kMostAxes = 4;
    static constexpr std::size_t kMostMasters = 16;
    static constexpr std::size_t kMostMapPoints = 12;

    using Rows = std::vector<std::vector<double>>;
    struct MapPoint {
        double user;
        double design;
    };

    std::vector<MapPoint> pointsOf(std::size_t axis) const;
    static double userValue(const std::vector<MapPoint>& points, double design);
    bool defaultDesign(std::size_t axis, double& design) const;

    std::vector<std::string> types_;
    Rows map_;        // an axis a row: user, design, user, design ...
    Rows positions_;  // a master design a row: its place on each axis
    std::vector<double> weights_;
};
