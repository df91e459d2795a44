#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>
#include <memory>
#include <optional>

#include "CopyOutcome.h"
#include "Export.h"
#include "ForkLocator.h"
#include "OxFont.h"

/// Places a font's file in the destination: the base of all movers.
///
/// A copy is complete or absent, also when the process is killed while it is made, and never takes
/// the place of anything. It keeps the file's modification time and its permissions, less the
/// umask. A resource fork or Finder information that is kept outside the file's own bytes is
/// written beside the copy, as the AppleDouble file "._NAME"; a sidecar that is damaged is copied
/// as it is. When something of it cannot be read, or its place cannot be looked into, there is no
/// copy.
///
/// On file systems without unnamed files, a killed process leaves a file
/// ".oxparser-XXXXXXXXXXXX.part" in the destination's folder. It is never taken for a font, and can
/// be removed when no import is running.
///
/// A mover serves one thread at a time.
class OXPARSER_EXPORT OxFontMover {
  public:
    OxFontMover();
    /// The two paths are for subclasses; Move takes its own.
    OxFontMover(const boost::filesystem::path& source, const boost::filesystem::path& destination);
    OxFontMover(const OxFontMover&) = delete;
    OxFontMover& operator=(const OxFontMover&) = delete;
    virtual ~OxFontMover();

    /// Copies the file `source` to the path `destination`, whose folder must exist. Does nothing
    /// when anything is there already. Every failure is swallowed; lastCopy tells. `font` is for
    /// subclasses.
    virtual void Move(const boost::filesystem::path& source,
                      const boost::filesystem::path& destination, boost::shared_ptr<OxFont>& font);

    /// What the last Move did; nothing when it found its destination taken, and when a subclass
    /// has moved the font in its own way.
    const std::optional<CopyResult>& lastCopy() const { return lastCopy_; }

    /// Whether a destination that is taken holds the font of `source` already: Same when both data
    /// forks and both resource forks are equal, else Differs, or Failed when that cannot be told.
    CopyResult compare(const boost::filesystem::path& source,
                       const boost::filesystem::path& destination);

    /// Copies go nowhere else than below this folder: a link below it that leads out of it is
    /// refused. An empty path, the default, sets no bounds.
    void confineTo(const boost::filesystem::path& folder) { bounds_ = folder; }

  protected:
    const boost::filesystem::path& source() const { return source_; }
    const boost::filesystem::path& destination() const { return destination_; }
    /// For a subclass that moves fonts in its own way: what an importer reports.
    void setLastCopy(const std::optional<CopyResult>& result) { lastCopy_ = result; }

  private:
    friend class OxFontImporter;

    CopyResult copy(const boost::filesystem::path& source,
                    const boost::filesystem::path& destination);

    boost::filesystem::path source_;
    boost::filesystem::path destination_;
    boost::filesystem::path bounds_;
    std::optional<CopyResult> lastCopy_;
    ForkLocator forks_;
};
