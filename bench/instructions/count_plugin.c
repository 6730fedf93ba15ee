/* A plugin of the emulator that counts the instructions of the program it runs, and says how many at its end. What it
 * calls is declared here, as of version 1 of the emulator's interface, because not every package has the header. */
#include <inttypes.h>
#include <stddef.h>
#include <stdio.h>

#define PLUGIN_API __attribute__((visibility("default")))

typedef uint64_t plugin_id;
struct qemu_plugin_tb;

void qemu_plugin_register_vcpu_tb_trans_cb(plugin_id id, void (*translated)(plugin_id, struct qemu_plugin_tb*));
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* block);
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb* block, int add_u64, void* to, uint64_t count);
void qemu_plugin_register_atexit_cb(plugin_id id, void (*ended)(plugin_id, void*), void* data);

PLUGIN_API int qemu_plugin_version = 1;
PLUGIN_API int qemu_plugin_install(plugin_id id, const void* emulator, int argc, char** argv);

static uint64_t instructions; /* of all threads; the programs that are counted have one */

static void translated(plugin_id id, struct qemu_plugin_tb* block)
{
    (void)id;
    qemu_plugin_register_vcpu_tb_exec_inline(block, 0, &instructions, qemu_plugin_tb_n_insns(block));
}

static void ended(plugin_id id, void* data)
{
    (void)id;
    (void)data;
    fprintf(stderr, "instructions %" PRIu64 "\n", instructions);
}

int qemu_plugin_install(plugin_id id, const void* emulator, int argc, char** argv)
{
    (void)emulator;
    (void)argc;
    (void)argv;
    qemu_plugin_register_vcpu_tb_trans_cb(id, translated);
    qemu_plugin_register_atexit_cb(id, ended, NULL);
    return 0;
}
