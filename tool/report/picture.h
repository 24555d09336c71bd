// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <string>

#include "tool/model/line_model.h"

namespace gponflow {

/// The graph of managed entities as an <svg> element. Throws std::runtime_error when the command
/// dot is not there or fails.
std::string svg_of(const line_model& entities);

} // namespace gponflow
