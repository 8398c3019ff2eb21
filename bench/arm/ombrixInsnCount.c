/* A qemu-user TCG plugin that counts the guest instructions executed between
 * marker system calls of the program under test.
 *
 *   qemu-arm -plugin ./libombrixinsncount.so -d plugin -D counts.log ./program
 *
 * The program marks a window with syscall(OMBRIX_INSN_MARK, 0) at its start
 * and syscall(OMBRIX_INSN_MARK, 1) at its end; the plugin writes one line
 * "window N" per closed window, N being the instructions executed in it.
 * The marker number is unused by the kernel, so qemu answers it with ENOSYS
 * and nothing else happens. Every translated block adds its length to one
 * counter each time it starts (an inline add: exact and cheap), so a count
 * depends only on the program and its input.
 *
 * Only the few plugin API calls used here are declared; no qemu headers are
 * needed to build it. */
#include <inttypes.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include "ombrixInsnMark.h"

typedef uint64_t qemu_plugin_id_t;
struct qemu_info_t;
struct qemu_plugin_tb;
enum qemu_plugin_op { QEMU_PLUGIN_INLINE_ADD_U64 };

typedef void (*qemu_plugin_vcpu_tb_trans_cb_t)(qemu_plugin_id_t id, struct qemu_plugin_tb* tb);
typedef void (*qemu_plugin_vcpu_syscall_cb_t)(qemu_plugin_id_t id, unsigned int vcpu_index, int64_t num,
                                              uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5,
                                              uint64_t a6, uint64_t a7, uint64_t a8);

extern void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id, qemu_plugin_vcpu_tb_trans_cb_t cb);
extern size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* tb);
extern void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb* tb, enum qemu_plugin_op op,
                                                      void* ptr, uint64_t imm);
extern void qemu_plugin_register_vcpu_syscall_cb(qemu_plugin_id_t id, qemu_plugin_vcpu_syscall_cb_t cb);
extern void qemu_plugin_outs(const char* string);

__attribute__((visibility("default"))) int qemu_plugin_version = 1;

static uint64_t executed;
static uint64_t windowStart;

static void onTranslate(qemu_plugin_id_t id, struct qemu_plugin_tb* tb) {
    (void)id;
    qemu_plugin_register_vcpu_tb_exec_inline(tb, QEMU_PLUGIN_INLINE_ADD_U64, &executed, qemu_plugin_tb_n_insns(tb));
}

static void onSyscall(qemu_plugin_id_t id, unsigned int vcpu, int64_t num, uint64_t a1, uint64_t a2, uint64_t a3,
                      uint64_t a4, uint64_t a5, uint64_t a6, uint64_t a7, uint64_t a8) {
    (void)id, (void)vcpu, (void)a2, (void)a3, (void)a4, (void)a5, (void)a6, (void)a7, (void)a8;
    if (num != OMBRIX_INSN_MARK) return;
    if (a1 == OMBRIX_INSN_MARK_BEGIN) {
        windowStart = executed;
    } else {
        char line[64];
        snprintf(line, sizeof line, "window %" PRIu64 "\n", executed - windowStart);
        qemu_plugin_outs(line);
    }
}

__attribute__((visibility("default"))) int qemu_plugin_install(qemu_plugin_id_t id, const struct qemu_info_t* info,
                                                               int argc, char** argv) {
    (void)info, (void)argc, (void)argv;
    qemu_plugin_register_vcpu_tb_trans_cb(id, onTranslate);
    qemu_plugin_register_vcpu_syscall_cb(id, onSyscall);
    return 0;
}
