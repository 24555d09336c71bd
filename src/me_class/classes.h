/* SPDX-License-Identifier: GPL-2.0-only */
/* The records of the mirrored classes, as the class table names them. */
#ifndef GPON_ME_CLASSES_H
#define GPON_ME_CLASSES_H

#include "../include/me_class.h"

extern "C" {

extern const gpon_me_list_info pptpListInfo, mbspListInfo, mbpcdListInfo, vtfdListInfo,
    mapperListInfo, gemIwListInfo, gemCtpListInfo, veipListInfo, multiGemIwListInfo, tcontListInfo,
    tsListInfo, tdListInfo, priorityQListInfo, vtocdListInfo, evtocdListInfo;

extern const gpon_me_fwd_op pptpFwdOp, mbspFwdOp, mbpcdFwdOp, mapperFwdOp, gemIwFwdOp, gemCtpFwdOp,
    veipFwdOp, multiGemIwFwdOp, tcontFwdOp, tsFwdOp, tdFwdOp, priorityQFwdOp;

extern list_head gpon_pptp_uni_list, gpon_mbsp_list, gpon_mbpcd_list, gpon_vtfd_list,
    gpon_mapper_list, gpon_gemiw_list, gpon_gemctp_list, gpon_veip_list, gpon_multigemiw_list,
    gpon_tcont_list, gpon_ts_list, gpon_td_list, gpon_pq_list, gpon_vtocd_list, gpon_evtocd_list;
}

#endif
