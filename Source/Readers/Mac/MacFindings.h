#pragma once

#include <cstdint>
#include <string>

#include "FontDiagnostic.h"
#include "FontResources.h"
#include "OxFont.h"

/// The findings about Mac fonts, by their codes in the table of findings.
namespace finding {

constexpr int kForkDamaged = 20500;
constexpr int kForkUnreadable = 20501;
constexpr int kForkLost = 20502;
constexpr int kFamilyUnreadable = 20503;
constexpr int kResourceMissing = 20504;
constexpr int kResourceOutside = 20505;
constexpr int kResourceCompressed = 20506;
constexpr int kStrikeUnreadable = 20507;
constexpr int kPrinterFontMissing = 20508;
constexpr int kPostMissing = 20509;
constexpr int kPostKind = 20510;
constexpr int kPostWithoutEnd = 20511;
constexpr int kPostBehindEnd = 20512;
constexpr int kSharedResource = 20513;
constexpr int kNumberTwice = 20514;
constexpr int kTooManyFaces = 20515;
constexpr int kContainerDamaged = 20516;

}  // namespace finding

/// The finding about a resource whose data have this status.
int unreadableFinding(std::int16_t status);

/// Adds a finding to a record that is already made.
void addFinding(OxFont& record, int code, const std::string& detail,
                FontDiagnosticPlace where = {});

/// The place of a resource, and of a field in it.
FontDiagnosticPlace placeOf(FontResourceType type, std::int16_t id, const std::string& field = {});
