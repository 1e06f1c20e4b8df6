// The groups of measurements. Each registers its benchmarks, "WHAT/measured" and "WHAT/floor".
#pragma once

#include <string>

namespace bench {

// In `folder` they make the appliances that they work on.
void register_lists(const std::string& folder);
void register_actions(const std::string& folder);
void register_parts(const std::string& folder);

}  // namespace bench
