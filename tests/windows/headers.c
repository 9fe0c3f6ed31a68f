/* The public headers beside the system's own, in either order and alone. Built as C99 and as C++.
 */
#ifdef WINDOWS_FIRST
#include <windows.h>
#endif
#include "orvex/orvex.h"
#include "orvex/orvex_ddi.h"
#include "orvex/orvex_event.h"
#include "orvex/orvex_legacy.h"
#include "orvex/orvex_plugin.h"
#include "orvex/orvex_protocol.h"
#ifdef WINDOWS_LAST
#include <windows.h>
#endif

int use_event(void);
int use_event(void) {
    orvex_event event;
    int good = orvex_event_create(&event, 0, 1, 1) && orvex_event_wait(&event, 0);
    orvex_event_close(&event);
    return good;
}
