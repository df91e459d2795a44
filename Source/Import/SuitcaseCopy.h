#pragma once

#include <boost/filesystem/path.hpp>
#include <string>

#include "CopyOutcome.h"
#include "OxFont.h"

/// Writes the family that `font` belongs to, with the strikes and outlines that its association
/// entries name, from the resources of `file` into a new suitcase called `name` in `folder`.
///
/// Nothing is overwritten: a name that is taken answers Same when the file there holds the same
/// resources, Failed when that cannot be told, else Differs. A failed write leaves nothing behind.
/// Takes macParsingMutex and leaves the current resource file as it was.
[[nodiscard]] CopyResult copySuitcase(const OxFont& font, const boost::filesystem::path& file,
                                      const boost::filesystem::path& folder,
                                      const std::string& name);
