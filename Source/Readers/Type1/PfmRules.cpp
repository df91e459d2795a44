#include "PfmRules.h"

#include "FindingText.h"

namespace {

// Past the end: of the operand's number of bytes from the value on, not all lie in the file.
enum class Fault { eIs, eIsNot, eExceeds, ePastEnd };

struct Rule {
    Pfm field;
    Fault fault;
    std::uint32_t operand;
    FontDiagnosticType severity;
    int code;
};

constexpr Rule kRules[] = {
    {Pfm::eVersion, Fault::eIsNot, 0x0100, eWarning, 15100},
    {Pfm::eTypeBits, Fault::eIsNot, 0x0081, eNote, 15106},
    {Pfm::eVertRes, Fault::eIsNot, 300, eNote, 15107},
    {Pfm::eHorizRes, Fault::eIsNot, 300, eNote, 15108},
    {Pfm::eWidthBytes, Fault::eIsNot, 0, eNote, 15109},
    {Pfm::eDevice, Fault::eIs, 0, eError, 15110},
    {Pfm::eDevice, Fault::ePastEnd, 1, eError, 15111},
    {Pfm::eFace, Fault::eIs, 0, eError, 15112},
    {Pfm::eFace, Fault::ePastEnd, 1, eError, 15113},
    {Pfm::eSizeFields, Fault::eIsNot, PfmFields::kExtensionSize, eWarning, 15200},
    {Pfm::eExtMetricsOffset, Fault::eIs, 0, eWarning, 15210},
    {Pfm::eExtMetricsOffset, Fault::ePastEnd, PfmFields::kMetricsSize, eError, 15201},
    {Pfm::eExtentTable, Fault::ePastEnd, 1, eError, 15202},
    {Pfm::eOriginTable, Fault::eIsNot, 0, eNote, 15212},
    {Pfm::ePairKernTable, Fault::ePastEnd, 2, eError, 15204},
    {Pfm::eTrackKernTable, Fault::ePastEnd, 2, eError, 15205},
    {Pfm::eReserved, Fault::eIsNot, 0, eNote, 15207},
    {Pfm::eDriverInfo, Fault::eIs, 0, eError, 15208},
    {Pfm::eDriverInfo, Fault::ePastEnd, 1, eError, 15209},
    {Pfm::eEtmSize, Fault::eIsNot, PfmFields::kMetricsSize, eNote, 15300},
    {Pfm::eEtmPointSize, Fault::eIsNot, 240, eNote, 15301},  // 12 points in twentieths
    {Pfm::eEtmOrientation, Fault::eIsNot, 0, eNote, 15302},
    {Pfm::eEtmMasterHeight, Fault::eIsNot, 1000, eNote, 15303},
    {Pfm::eEtmMinScale, Fault::eIsNot, 3, eNote, 15304},
    {Pfm::eEtmMaxScale, Fault::eIsNot, 1000, eNote, 15305},
    {Pfm::eEtmMasterUnits, Fault::eIsNot, 1000, eNote, 15306},
    {Pfm::eEtmKernPairs, Fault::eExceeds, 512, eNote, 15308},
    {Pfm::eEtmKernTracks, Fault::eExceeds, 16, eNote, 15309},
};

bool isFaulty(const Rule& rule, std::uint32_t value, std::uint64_t fileSize) {
    switch (rule.fault) {
        case Fault::eIs:
            return value == rule.operand;
        case Fault::eIsNot:
            return value != rule.operand;
        case Fault::eExceeds:
            return value > rule.operand;
        case Fault::ePastEnd:
            return std::uint64_t{value} + rule.operand > fileSize;
    }
    return false;
}

std::string expectation(const Rule& rule, std::uint64_t fileSize) {
    switch (rule.fault) {
        case Fault::eIsNot:
            return ", should be " + std::to_string(rule.operand);
        case Fault::eExceeds:
            return ", should be at most " + std::to_string(rule.operand);
        case Fault::ePastEnd:
            return ", file has " + std::to_string(fileSize) + " bytes";
        case Fault::eIs:
            break;
    }
    return {};
}

}  // namespace

void checkPfmFields(Face& face, const PfmFields& fields) {
    const std::uint64_t fileSize = fields.file().size();
    for (const Rule& rule : kRules) {
        const std::optional<std::uint32_t> value = fields.at(rule.field);
        if (value && isFaulty(rule, *value, fileSize)) {
            face.find(rule.severity, rule.code,
                      std::to_string(*value) + expectation(rule, fileSize),
                      inFile(PfmFields::layout(rule.field).name, fields.offsetOf(rule.field)));
        }
    }
}
