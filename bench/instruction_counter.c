// A plugin for qemu-user that counts the guest's executed instructions and prints their number to
// standard error when the program ends:
//
//   qemu-aarch64 -plugin libsonx_instruction_counter.so PROGRAM
//
// Made for programs of one thread: the counter is not atomic. qemu's plugin interface (version 1)
// is a handful of C functions, resolved when qemu loads the plugin; Debian packages no header for
// it, so those used here are declared below.
#include <inttypes.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

typedef uint64_t qemu_plugin_id_t;
struct qemu_plugin_tb;
enum { QEMU_PLUGIN_INLINE_ADD_U64 = 0 };

void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id,
                                           void (*translated)(qemu_plugin_id_t id,
                                                              struct qemu_plugin_tb* block));
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* block);
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb* block, int operation,
                                              void* counter, uint64_t step);
void qemu_plugin_register_atexit_cb(qemu_plugin_id_t id,
                                    void (*ended)(qemu_plugin_id_t id, void* data), void* data);

#define EXPORT __attribute__((visibility("default")))
EXPORT int qemu_plugin_version = 1;
EXPORT int qemu_plugin_install(qemu_plugin_id_t id, const void* info, int argc, char** argv);

static uint64_t executed;

// Each time a block of translated code runs, it adds its length.
static void count_block(qemu_plugin_id_t id, struct qemu_plugin_tb* block) {
  (void)id;
  qemu_plugin_register_vcpu_tb_exec_inline(block, QEMU_PLUGIN_INLINE_ADD_U64, &executed,
                                           qemu_plugin_tb_n_insns(block));
}

static void print_count(qemu_plugin_id_t id, void* data) {
  (void)id;
  (void)data;
  fprintf(stderr, "executed instructions: %" PRIu64 "\n", executed);
}

int qemu_plugin_install(qemu_plugin_id_t id, const void* info, int argc, char** argv) {
  (void)info;
  (void)argc;
  (void)argv;
  qemu_plugin_register_vcpu_tb_trans_cb(id, count_block);
  qemu_plugin_register_atexit_cb(id, print_count, NULL);
  return 0;
}
