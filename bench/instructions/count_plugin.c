/* A plugin of the emulator that counts the instructions between the last two calls of getppid() of the program it runs.
 * What it calls is declared here, as of version 1 of the emulator's interface, because not every package has the
 * header. */
#include <inttypes.h>
#include <stddef.h>
#include <stdio.h>

#define PLUGIN_API __attribute__((visibility("default")))

typedef uint64_t plugin_id;
struct qemu_plugin_tb;

void qemu_plugin_register_vcpu_tb_trans_cb(plugin_id id, void (*translated)(plugin_id, struct qemu_plugin_tb*));
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* block);
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb* block, int add_u64, void* to, uint64_t count);
void qemu_plugin_register_vcpu_syscall_cb(plugin_id id,
                                          void (*called)(plugin_id, unsigned cpu, int64_t number, uint64_t, uint64_t,
                                                         uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t));
void qemu_plugin_register_atexit_cb(plugin_id id, void (*ended)(plugin_id, void*), void* data);

PLUGIN_API int qemu_plugin_version = 1;
PLUGIN_API int qemu_plugin_install(plugin_id id, const void* emulator, int argc, char** argv);

enum { kGetParent = 173 }; /* the system call's number on 64-bit ARM */

static uint64_t instructions; /* of all threads; the programs that are counted have one */
static uint64_t marks[2];     /* counts at the last but one mark, and at the last */

static void translated(plugin_id id, struct qemu_plugin_tb* block)
{
    (void)id;
    qemu_plugin_register_vcpu_tb_exec_inline(block, 0, &instructions, qemu_plugin_tb_n_insns(block));
}

static void called(plugin_id id, unsigned cpu, int64_t number, uint64_t a, uint64_t b, uint64_t c, uint64_t d,
                   uint64_t e, uint64_t f, uint64_t g, uint64_t h)
{
    (void)id, (void)cpu, (void)a, (void)b, (void)c, (void)d, (void)e, (void)f, (void)g, (void)h;
    if (number == kGetParent) {
        marks[0] = marks[1];
        marks[1] = instructions;
    }
}

static void ended(plugin_id id, void* data)
{
    (void)id;
    (void)data;
    fprintf(stderr, "instructions %" PRIu64 "\n", marks[1] - marks[0]);
}

int qemu_plugin_install(plugin_id id, const void* emulator, int argc, char** argv)
{
    (void)emulator;
    (void)argc;
    (void)argv;
    qemu_plugin_register_vcpu_tb_trans_cb(id, translated);
    qemu_plugin_register_vcpu_syscall_cb(id, called);
    qemu_plugin_register_atexit_cb(id, ended, NULL);
    return 0;
}
