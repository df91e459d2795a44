#pragma once

#include <cstdint>

#include "Export.h"
#include "FondViews.h"
#include "OxParserTrueTypeImp.h"
#include "ResourceManager.h"

/// Where an association entry comes from.
enum AssociationMode : int {
    eSuitcaseMode = 1,
    eDfontMode = 4,
};

/// Turns one outline entry of a family into records: the 'sfnt' resource that it names, read as a
/// TrueType font in memory. The family's file is the current resource file during each call, and
/// the caller holds macParsingMutex.
class OXPARSER_EXPORT OxParserTrueTypeMacImp : public OxParserTrueTypeImp {
  public:
    OxParserTrueTypeMacImp();
    ~OxParserTrueTypeMacImp() override;

    /// False: resources are read through the resource manager.
    bool readsWhole(const boost::filesystem::path& file) const override;
    /// A new list, owned by the caller; empty for a mode that is none of AssociationMode. A missing
    /// or small resource makes one record that says so.
    ///
    /// A collection's members are looked for at the places of its offset array itself, which are
    /// deliberately not followed. Each member is read from a copy of its own, so the resource's
    /// bytes never change. A collection that asks for far more work than its size explains is cut
    /// short with a diagnostic.
    boost::ptr_vector<OxFont>* parseFont(const boost::filesystem::path& file, char** fondHandle,
                                         const AsscEntry* entry, int mode);
    /// True for entries that name no outline, and for outlines of a plausible size.
    bool validateAssoc(OxFont& font, const AsscEntry* entry);
    /// What identifies the outline in its file: path, platform, and the two resources.
    void setAttributes(const boost::filesystem::path& file, OxFont* font, char** fondHandle,
                       char** fontHandle);

    /// What the calls so far have cost, in bytes digested.
    std::uint64_t bytesWorked() const { return bytesWorked_; }

  private:
    void readMembers(const boost::filesystem::path& file, ByteView sfnt,
                     boost::ptr_vector<OxFont>& fonts);

    std::uint64_t bytesWorked_ = 0;
};
