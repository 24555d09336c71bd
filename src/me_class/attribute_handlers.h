/* SPDX-License-Identifier: GPL-2.0-only */
/* Common parts of the attribute handlers of all classes. Control path. */
#ifndef GPON_ME_CLASS_ATTRIBUTE_HANDLERS_H
#define GPON_ME_CLASS_ATTRIBUTE_HANDLERS_H

#include "../base/log.h"
#include "../me/default_config.h"
#include "../me/link_update.h"

namespace gpon {

/* One end of a link. */
struct me_ref {
    me_class class_id;
    u16 inst_id;
};

/* Records that an instance points at another one, with the command's message type. */
[[nodiscard]] inline i32 report_link(const gpon_me_cmd* cmd, me_ref from,
                                     me_ref to) GPON_CHANGES_LISTS
{
    const gpon_me_related_update update = {.class_id = from.class_id,
                                           .entity_id = from.inst_id,
                                           .related_class_id = to.class_id,
                                           .related_inst_id = to.inst_id,
                                           .msg_type = cmd->msg_type};
    return gpon_flow_me_general_update(&update);
}

/* Records the link of one element of a pointer attribute. Returns 0 without a record if the element
 * points nowhere, -1 if the pointer has no class. */
[[nodiscard]] inline i32 report_pointer(const gpon_me_cmd* cmd, me_ref from,
                                        const gpon_me_pointer& pointer, const void* raw,
                                        u32 element = 0) GPON_CHANGES_LISTS
{
    const me_class to = target_class(pointer, raw, gpon_flow_cfg_data);
    if (to == me_class::none)
        return -1;
    if (!has_target(pointer, raw, element))
        return 0;
    return report_link(cmd, from, {to, target_id(pointer, raw, element)});
}

/* Traces the handler's entry; returns the raw record of its command, or null with the error
 * message. */
template <typename Raw>
[[nodiscard]] inline const Raw* enter_handler(const gpon_me_cmd* cmd,
                                              log_context log = log_context::here())
    GPON_ASSERT(gpon_flow_control_mutex) GPON_ASSERT_SHARED(gpon_rcu_section)
{
    assert_changes_lists();
    log.trace("[%s][%d]: Enter\n");
    if (cmd && cmd->attr_data)
        return static_cast<const Raw*>(attr_data(cmd));
    log.error("[%s][%d]Parameter is Null.\n");
    return nullptr;
}

/* The attribute-op table of a class without pointer attributes. */
constexpr gpon_me_attr_op NO_ATTR_OPS[] = {{.mask = 0, .handler = nullptr}};

/* The related-info table of a class that no other class points at. */
constexpr gpon_me_related_info NOTHING_RELATED[] = {{}};

} // namespace gpon

#endif
