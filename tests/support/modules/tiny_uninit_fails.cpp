#define ORVEX_TINY_UNINIT_RESULT 0
#include "support/tiny_module.h"
