/* A plug-in for the user-mode emulator: prints how many instructions a program executed.
 * The emulator's package brings no header, so what is used of its interface is declared here. */
#include <inttypes.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

typedef uint64_t qemu_plugin_id_t;
struct qemu_plugin_tb;
enum qemu_plugin_op { QEMU_PLUGIN_INLINE_ADD_U64 };

void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id,
                                           void (*cb)(qemu_plugin_id_t, struct qemu_plugin_tb*));
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb* block, enum qemu_plugin_op op,
                                              void* counter, uint64_t immediate);
void qemu_plugin_register_atexit_cb(qemu_plugin_id_t id, void (*cb)(qemu_plugin_id_t, void*),
                                    void* user);
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* block);
void qemu_plugin_outs(const char* text);

__attribute__((visibility("default"))) int qemu_plugin_version = 1;

static uint64_t executed;

static void countBlock(qemu_plugin_id_t id, struct qemu_plugin_tb* block) {
  (void)id;
  qemu_plugin_register_vcpu_tb_exec_inline(block, QEMU_PLUGIN_INLINE_ADD_U64, &executed,
                                           qemu_plugin_tb_n_insns(block));
}

static void printCount(qemu_plugin_id_t id, void* user) {
  char text[32];
  (void)id;
  (void)user;
  snprintf(text, sizeof(text), "%" PRIu64 "\n", executed);
  qemu_plugin_outs(text);
}

__attribute__((visibility("default"))) int qemu_plugin_install(qemu_plugin_id_t id,
                                                               const void* info, int argc,
                                                               char** argv) {
  (void)info;
  (void)argc;
  (void)argv;
  qemu_plugin_register_vcpu_tb_trans_cb(id, countBlock);
  qemu_plugin_register_atexit_cb(id, printCount, NULL);
  return 0;
}
