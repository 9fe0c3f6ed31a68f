#define ACCUMULATION_NO_SET_NUM
#define ACCUMULATION_MODULE_SOURCE
#include "support/modules/accumulation_module.h"
