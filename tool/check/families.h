// SPDX-License-Identifier: GPL-2.0-only
// The families of rules: each is a source FAMILY_rules.cpp with one entry point.
#pragma once

#include "tool/check/finding_list.h"
#include "tool/model/line_model.h"

namespace gponflow {

/// Each reads the entities and adds its findings.
void check_pointers(const line_model& entities, finding_list& found);
void check_filters(const line_model& entities, finding_list& found);
void check_mappers(const line_model& entities, finding_list& found);
void check_gem_ports(const line_model& entities, finding_list& found);
void check_queues(const line_model& entities, finding_list& found);
void check_services(const line_model& entities, finding_list& found);
void check_values(const line_model& entities, finding_list& found);
void check_tagging(const line_model& entities, finding_list& found);

} // namespace gponflow
