#pragma once

#include <ostream>

#include "apps/aax_host/aax_session.h"

/// Prints how a plug-in answers a host that refuses it something, and one that asks for what is
/// not there.
void printMistakes(AaxSession& session, std::ostream& out);
