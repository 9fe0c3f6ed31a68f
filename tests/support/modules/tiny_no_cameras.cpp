#define ORVEX_TINY_CAMERAS 0
#include "support/tiny_module.h"
