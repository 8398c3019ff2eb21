/* The marker system call shared by the instruction-counting plugin and the
 * programs it measures: a number no kernel assigns, below the ARM private
 * range, so that the emulator passes it to plugins and returns ENOSYS. */
#ifndef OMBRIX_INSN_MARK_H
#define OMBRIX_INSN_MARK_H

#define OMBRIX_INSN_MARK 0x7a5e
#define OMBRIX_INSN_MARK_BEGIN 0
#define OMBRIX_INSN_MARK_END 1

#endif /* OMBRIX_INSN_MARK_H */
