/* Between the relay driver and the program that plays a camera's driver behind it. */
#ifndef ORVEX_TESTS_RELAY_H
#define ORVEX_TESTS_RELAY_H

#define RELAY_SERVICE "OrvexRelay"
#define RELAY_CAMERA "\\\\.\\OrvexRelayCamera"
#define RELAY_DRIVER "\\\\.\\OrvexRelayDriver"

/* Control codes of the driver's end, with buffered input and output. */
enum {
    RELAY_RECEIVE = 0x222000,  /* out: the next dv_file_request; fails when there is none */
    RELAY_COMPLETE = 0x222004, /* in: a dv_file_completion; fails when nobody waits for it */
    RELAY_AT_ONCE = 0x222008,  /* in: uint32, whether requests complete as they are submitted */
    RELAY_REFUSE = 0x22200c    /* in: uint32, whether they are refused */
};

#endif
