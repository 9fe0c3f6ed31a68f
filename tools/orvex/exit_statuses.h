#pragma once

// How the program ends, X(status, why).
#define ORVEX_EXIT_STATUSES(X)                                                          \
    X("0", "all went well")                                                             \
    X("1",                                                                              \
      "the camera, the library or the file system refused, or something is wrong; the " \
      "message says what")                                                              \
    X("2", "the command line asks for what there is not")                               \
    X("129, 130, 143",                                                                  \
      "SIGHUP, SIGINT or SIGTERM ended it; the camera was stopped and closed "          \
      "before, and what was recorded until then is whole")
