#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>
#include <optional>

#include "Export.h"
#include "OxFontMover.h"

/// A mover that places whole records, each in the way of its type, in its destination folder.
///
/// Nothing is ever overwritten, and a failed move leaves nothing behind. Like Move of the base, the
/// operations swallow every failure; lastCopy tells.
class OXPARSER_EXPORT OxFontSuitcaseMover : public OxFontMover {
  public:
    OxFontSuitcaseMover();
    /// `destination` is the folder that fonts are placed in; it must exist.
    OxFontSuitcaseMover(const boost::filesystem::path& source,
                        const boost::filesystem::path& destination);
    ~OxFontSuitcaseMover() override;

    using OxFontMover::Move;
    /// Places one record: MoveSuitcase for fonts that live in resources, MoveTrueTypeCollection for
    /// members of a collection, MoveFont for the rest.
    virtual void Move(boost::shared_ptr<OxFont>& font);
    /// Copies the record's file, under its own name, into the destination folder.
    virtual void MoveFont(boost::shared_ptr<OxFont>& font);
    /// Writes the record's family, with its strikes and outlines, as a new suitcase (a MacBinary
    /// file) into the folder of its foundry, made if it is missing, and copies its printer font
    /// files beside it.
    virtual void MoveSuitcase(boost::shared_ptr<OxFont>& font);
    /// Copies the record's collection, with all its members, into the destination folder.
    virtual void MoveTrueTypeCollection(boost::shared_ptr<OxFont>& font);

  private:
    std::optional<CopyResult> movePrinterFonts(boost::shared_ptr<OxFont>& font,
                                               const boost::filesystem::path& folder);
};
