#define ORVEX_TINY_CAMERAS 20
#include "support/tiny_module.h"
