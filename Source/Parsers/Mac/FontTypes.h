#pragma once

#include <boost/ptr_container/ptr_vector.hpp>

#include "OxFont.h"

/// True when the list holds records of both types, "T1" and "TT".
bool holdsPostScriptAndTrueType(const boost::ptr_vector<OxFont>& fonts);
