#define POST_PROCESSING_NO_PROCESS
#define POST_PROCESSING_MODULE_SOURCE
#include "support/modules/post_processing_module.h"
