#pragma once

#include <span>

#include "orvex/view/site.h"

namespace orvex::view {

// The files of tools/orvex/view/page.
std::span<const PageFile> page_files();

}  // namespace orvex::view
