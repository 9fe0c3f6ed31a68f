#define ORVEX_TINY_NO_VERSION
#include "support/tiny_module.h"
