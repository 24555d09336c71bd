// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/upstream_port.h"

namespace gponflow {

const me_instance* upstream_ctp(const explanation& half)
{
    if (!half.returned)
        return nullptr;
    const auto carries = [&](const me_instance& ctp) {
        return ctp.as<gpon_raw_gemctp>().portID == half.returned->gem;
    };
    for (const walk_step& step : half.walk.steps) {
        const bool is_ctp = step.passed && step.at.class_id == me_class::gemctp;
        const me_instance* ctp = is_ctp ? half.entities.find(step.at) : nullptr;
        if (ctp && carries(*ctp))
            return ctp;
    }
    // The steps of a replay may name no instance.
    for (const me_instance& ctp : half.entities.instances(me_class::gemctp))
        if (carries(ctp) && ctp.as<gpon_raw_gemctp>().direction != gem_downstream)
            return &ctp;
    return nullptr;
}

} // namespace gponflow
