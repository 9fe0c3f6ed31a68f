#define POST_PROCESSING_NO_COMMON_PARAMETER
#define POST_PROCESSING_MODULE_SOURCE
#include "support/modules/post_processing_module.h"
