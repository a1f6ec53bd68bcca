#pragma once

#include <ostream>

#include "apps/aax_host/aax_session.h"

/// Prints how a plug-in reacts to a host that refuses calls, and to one that asks for things that
/// do not exist.
void printMistakes(AaxSession& session, std::ostream& out);
