#define ORVEX_TINY_INIT_RESULT 2
#include "support/tiny_module.h"
