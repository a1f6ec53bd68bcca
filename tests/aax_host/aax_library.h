#pragma once

#include "apps/aax_host/aax_library.h"
