#pragma once

#include "common/tools/jsonfile/jsonfile.h" // IWYU pragma: export
