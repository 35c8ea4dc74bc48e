/* A plugin of qemu that says on standard error how many instructions a program executed.
 * qemu's header is in none of Debian's packages, so what is used of it stands here. */
#include <inttypes.h>
#include <stdio.h>

struct qemu_plugin_tb;
extern void qemu_plugin_register_vcpu_tb_trans_cb(uint64_t id,
                                                  void (*translated)(uint64_t id,
                                                                     struct qemu_plugin_tb* block));
extern void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb* block, int add_u64,
                                                     void* sum, uint64_t number);
extern size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* block);
extern void qemu_plugin_register_atexit_cb(uint64_t id, void (*ended)(uint64_t id, void*), void*);

__attribute__((visibility("default"))) int qemu_plugin_version = 1;

static uint64_t executed;

static void Translated(uint64_t id, struct qemu_plugin_tb* block) {
  (void)id;
  qemu_plugin_register_vcpu_tb_exec_inline(block, 0, &executed, qemu_plugin_tb_n_insns(block));
}

static void Ended(uint64_t id, void* data) {
  (void)id, (void)data;
  fprintf(stderr, "instructions: %" PRIu64 "\n", executed);
}

__attribute__((visibility("default"))) int qemu_plugin_install(uint64_t id, const void* info,
                                                               int count, char** arguments) {
  (void)info, (void)count, (void)arguments;
  qemu_plugin_register_vcpu_tb_trans_cb(id, Translated);
  qemu_plugin_register_atexit_cb(id, Ended, NULL);
  return 0;
}
