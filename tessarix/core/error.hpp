// Kept at this path for hosts: the definitions live in the foundation layer.
#pragma once

#include "tessarix/foundation/error.hpp"
