#define ORVEX_TINY_NO_UNINIT
#include "support/tiny_module.h"
