// SPDX-License-Identifier: GPL-2.0-only
// The files that the page is made of, as they stand beside this one.
#pragma once

namespace gponflow {

extern const char* const page_template; ///< mustache
extern const char* const page_style;
extern const char* const page_script;

} // namespace gponflow
