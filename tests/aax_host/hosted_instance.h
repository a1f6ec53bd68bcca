#pragma once

#include "apps/aax_host/hosted_instance.h"
