#pragma once

// Everything that the library offers, for programs that would rather not choose.

#include "voran/export.h"
#include "voran/version.h"
