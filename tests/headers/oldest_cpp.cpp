#include <orvex/orvex.h>
#include <orvex/orvex_legacy.h>

int16 error_of_last_call() {
    return ox_error_code();
}
