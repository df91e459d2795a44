#pragma once

#include <functional>

#include "ByteView.h"
#include "RecordChecks.h"

/// What every target of the modern reading checks: two reads give equal records, at least one when
/// `read` always makes one; every text is valid UTF-8; codes are known ones; the JSON line parses
/// back; and while the input is known to be sound, nothing is found above a note.
void checkReader(const std::function<void(FontList& faces)>& read);

/// Whether the input in hand is one that is sound; set by who replays seeds.
bool& inputIsSound();
