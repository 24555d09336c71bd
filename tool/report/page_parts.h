// SPDX-License-Identifier: GPL-2.0-only
// The files of this folder that form the page.
#pragma once

namespace gponflow {

extern const char* const page_template; ///< mustache
extern const char* const page_style;
extern const char* const page_script;

} // namespace gponflow
