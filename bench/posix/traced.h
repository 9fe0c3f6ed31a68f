#pragma once

// The children that run traced.
namespace bench {

void make_calls_to_count();
void fill_trace();

}  // namespace bench
