#pragma once

#include <string>

// Takes this process, and those that it starts from now on, into a network of their own with
// nothing but a loopback. Empty, or why that is impossible.
std::string EnterOwnNetwork();
