#pragma once

#include "apps/aax_host/host_memory.h"
