#pragma once

#include <string>

#include "Face.h"

/// Font programs and their metrics, which lie in one folder under one stem.

/// `metrics` of a font program: its PFM, AFM and INF.
void addMetrics(Face& face);

/// `outline` of metrics: the PFB, PFA and t1. Says when both state PostScript names and these
/// differ. `wantsPfb`: says too when there is no program or no sound PFB, as a PFM needs one.
void addOutline(Face& face, bool wantsPfb);
