#define ORVEX_TINY_INIT_RESULT 0x10001
#include "support/tiny_module.h"
