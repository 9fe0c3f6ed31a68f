#define ACCUMULATION_NO_INIT
#define ACCUMULATION_MODULE_SOURCE
#include "support/modules/accumulation_module.h"
