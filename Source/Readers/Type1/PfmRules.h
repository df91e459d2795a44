#pragma once

#include "Face.h"
#include "PfmFields.h"

/// What the fields of a sound PFM file hold: one table of rules.
void checkPfmFields(Face& face, const PfmFields& fields);
