#pragma once

// The environment variables that the library, its modules, the program and the Python package read.

// X(name, what it does)
#define ORVEX_ENVIRONMENT_VARIABLES(X)                                                         \
    X(ORVEX_SOFTCAM, "configuration of the software camera, a JSON file")                      \
    X(ORVEX_GENICAM, "addresses of GigE cameras, with commas in between; or all, or off")      \
    X(ORVEX_MODULE_PATH, "folders with driver modules and plug-ins, looked through first")     \
    X(ORVEX_REGISTRY, "file with the settings of the installation, in place of the usual one") \
    X(ORVEX_CORE_LOG_FILE, "file for a trace of every call; orvex trace reads it")             \
    X(ORVEX_CORE_LOG_LEVEL, "how much is traced: E errors, W warnings, I information, D all")  \
    X(ORVEX_LIBRARY, "library that the Python package loads")                                  \
    X(ORVEX_INCLUDE, "folder of the headers that the Python package reads")

// Set by the program itself, for a second run of it.
#define ORVEX_PROGRAM_TRACE_VARIABLE "ORVEX_PROGRAM_TRACE"
