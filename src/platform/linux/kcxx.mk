# SPDX-License-Identifier: GPL-2.0-only
#
# Builds gpon_flow_whole.o, or for another module $(kcxx_module)_whole.o, from C++ and C
# (gpon_core_objs, gpon_glue_objs, relative to the Kbuild's folder). The kernel's build does not
# support C++. This file uses its rule for C with another compiler and without the flags that are
# valid for C only. Dependencies, tracing, sanitizers and objtool thus follow the kernel's
# configuration.

kcxx-objs := $(addprefix $(obj)/,$(gpon_core_objs))
kglue-objs := $(addprefix $(obj)/,$(gpon_glue_objs))
kcxx-module := $(or $(kcxx_module),gpon_flow)
kwhole := $(obj)/$(kcxx-module)_whole.o

kcxx-compiler := $(or $(KCXX),$(subst clang,clang++,$(subst gcc,g++,$(CC))))

kcxx-drop := -std=% -Wstrict-prototypes -Werror=strict-prototypes -Wmissing-prototypes \
	-Wold-style-definition -Wold-style-declaration -Wdeclaration-after-statement \
	-Werror=implicit-function-declaration -Werror-implicit-function-declaration \
	-Werror=implicit-int -Werror=incompatible-pointer-types -Werror=designated-init \
	-Wno-pointer-sign -Wmissing-parameter-type -Wjump-misses-init -Wnested-externs \
	-fno-gnu89-inline -Wno-int-conversion -Wno-override-init -Woverride-init \
	-Wmissing-declarations -Wno-unterminated-string-initialization \
	-fplugin=% -fplugin-arg-% -DRANDSTRUCT% -frandomize-layout-seed-file=%

# -fplugin and the flags of structure randomization: gcc's plugin would change the order of members in C++
# too, also of records that hold function pointers only and that C initializes by name. The records that C
# and C++ share are exempt (record_layout.h).
#
# -Wmissing-declarations: functions that operators trace have external linkage also where no other
# file calls them.
#
# -fno-weak: the copies of an inline function stay in their objects, where the kernel's tables of
# traced functions expect them.
kcxx-add := -std=c++20 -ffreestanding -fno-exceptions -fno-rtti -fno-threadsafe-statics \
	-fno-use-cxa-atexit -fno-sized-deallocation -fno-operator-names -funsigned-char \
	-fvisibility=hidden -fno-weak -I$(src)/src $(gpon_aligned)

ifdef CONFIG_ARM64
kcxx-add += $(call cc-option,-mno-outline-atomics)
endif

# objtool of newer kernels looks for the function of a cold part in the same source file. Symbols that
# are made local below belong to no file.
ifeq ($(CONFIG_OBJTOOL)$(shell [ "$(VERSION)" -ge 7 ] && echo y),yy)
kcxx-add += -fno-reorder-blocks-and-partition
kglue-add := -fno-reorder-blocks-and-partition
endif

# Kernel stacks are small and a walk is up to nine steps deep. Sanitizers need more stack.
ifeq ($(CONFIG_KASAN)$(CONFIG_KCSAN),)
kframe := -Werror=frame-larger-than=1024
endif

ifdef CONFIG_PROVE_RCU
kcxx-add += -DGPON_DEBUG_CHECKS
endif

# For the check of the stack depth: frame sizes and calls, in files beside the objects (*.ci).
ifdef GPON_CALL_GRAPH
kgraph := $(call cc-option,-fcallgraph-info=su)
endif

# The glue defines the load and unload functions of the module, and calls those of the core.
$(obj)/src/core/%.o: private kcxx-ends := -Dinit_module=gpon_core_init_module \
	-Dcleanup_module=gpon_core_cleanup_module

# These objects are not in the list of a module, so the kernel's build needs these settings.
$(kcxx-objs) $(kglue-objs): private part-of-module := y
$(kcxx-objs) $(kglue-objs): private modname := $(kcxx-module)
$(kglue-objs): private ccflags-y += -fvisibility=hidden $(kglue-add) $(kframe) $(kgraph)

$(kcxx-objs): private override CC := $(kcxx-compiler)
$(kcxx-objs): private override c_flags = -Wp,-MMD,$(depfile) \
	$(filter-out $(kcxx-drop),$(_c_flags)) $(modkern_cflags) $(kcxx-add) $(kcxx-ends) $(kframe) \
	$(kgraph)
$(kcxx-objs): private override quiet_cmd_cc_o_c = CXX $(quiet_modtag) $@
$(kcxx-objs): $(obj)/%.o: $(src)/%.cpp FORCE
	$(call if_changed_rule,cc_o_c)

quiet_cmd_gpon_whole = LD [M]  $@
      cmd_gpon_whole = $(LD) $(ld_flags) -r -o $@ $(filter %.o,$(real-prereqs)) && \
	$(OBJCOPY) --localize-hidden $@

$(kwhole): $(kcxx-objs) $(kglue-objs) FORCE
	$(call if_changed,gpon_whole)

targets += $(kcxx-module)_whole.o $(gpon_core_objs) $(gpon_glue_objs)
