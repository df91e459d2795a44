#include "OxParserImp.h"

#include "Log.h"

OxParserImp::OxParserImp() = default;
OxParserImp::~OxParserImp() = default;

// Hosts override these with the same signatures.
// NOLINTBEGIN(performance-unnecessary-value-param)
boost::ptr_vector<OxFont>* OxParserImp::parseFontFile(boost::filesystem::path /*file*/) {
    return nullptr;
}

bool OxParserImp::inspectFont(boost::filesystem::path /*file*/) {
    return false;
}

bool OxParserImp::readsWhole(const boost::filesystem::path& /*file*/) const {
    return false;
}

void OxParserImp::releaseMemory() {}

bool OxParserImp::firstRecordFirst() const {
    return false;
}

bool OxParserImp::diagnoseFont(boost::filesystem::path /*file*/) {
    return false;
}

bool OxParserImp::repairFont(boost::filesystem::path /*file*/) {
    return false;
}
// NOLINTEND(performance-unnecessary-value-param)

void OxParserImp::reportFileError(const boost::filesystem::path& file,
                                  const std::string& reason) const {
    static const LogChannel channel("OxParserImp");
    channel.error(file.string() + ":  " + reason);
    if (fileErrorReport_) {
        fileErrorReport_(file, reason);
    }
}
