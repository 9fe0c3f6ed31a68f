#define ORVEX_TINY_NO_INIT
#include "support/tiny_module.h"
