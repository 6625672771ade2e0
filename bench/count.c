// SPDX-License-Identifier: Apache-2.0
/* A plugin of QEMU: counts what a program for another machine does. At its end
 * it tells on standard error how many instructions the program took and how
 * many pages of 4 kB it fetched them from, read or wrote, at any time.
 *
 * QEMU's own header comes with no package of Debian 12; what is used of it is
 * version 1 of its interface.
 */
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

enum
{
    noRegisters = 0,
    readsAndWrites = 3,
    add = 0,
    pageBits = 12
};

struct qemu_plugin_tb;
struct qemu_plugin_insn;
typedef uint64_t Plugin;
typedef void (*Translated)(Plugin, struct qemu_plugin_tb*);
typedef void (*Accessed)(unsigned cpu, uint32_t info, uint64_t address,
                         void* data);
typedef void (*Ended)(Plugin, void* data);

size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb*);
struct qemu_plugin_insn* qemu_plugin_tb_get_insn(const struct qemu_plugin_tb*,
                                                 size_t index);
uint64_t qemu_plugin_insn_vaddr(const struct qemu_plugin_insn*);
void qemu_plugin_register_vcpu_tb_trans_cb(Plugin, Translated);
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb*, int what,
                                              void* number, uint64_t by);
void qemu_plugin_register_vcpu_mem_cb(struct qemu_plugin_insn*, Accessed,
                                      int registers, int accesses, void* data);
void qemu_plugin_register_atexit_cb(Plugin, Ended, void* data);

__attribute__((visibility("default"))) int qemu_plugin_version = 1;

static uint64_t instructions;
static uint8_t touched[1 << (32 - pageBits)]; /* by number of the page */

static void access(unsigned cpu, uint32_t info, uint64_t address, void* data)
{
    (void)cpu;
    (void)info;
    (void)data;
    touched[(uint32_t)address >> pageBits] = 1;
}

static void translate(Plugin plugin, struct qemu_plugin_tb* block)
{
    const size_t count = qemu_plugin_tb_n_insns(block);
    (void)plugin;
    for (size_t index = 0; index < count; ++index)
    {
        struct qemu_plugin_insn* one = qemu_plugin_tb_get_insn(block, index);
        access(0, 0, qemu_plugin_insn_vaddr(one), NULL);
        qemu_plugin_register_vcpu_mem_cb(one, access, noRegisters,
                                         readsAndWrites, NULL);
    }
    qemu_plugin_register_vcpu_tb_exec_inline(block, add, &instructions, count);
}

static void tell(Plugin plugin, void* data)
{
    unsigned pages = 0;
    (void)plugin;
    (void)data;
    for (size_t page = 0; page < sizeof(touched); ++page)
    {
        pages += touched[page];
    }
    fprintf(stderr, "%llu instructions, %u pages\n",
            (unsigned long long)instructions, pages);
}

__attribute__((visibility("default"))) int
qemu_plugin_install(Plugin plugin, const void* info, int count, char** words)
{
    (void)info;
    (void)count;
    (void)words;
    qemu_plugin_register_vcpu_tb_trans_cb(plugin, translate);
    qemu_plugin_register_atexit_cb(plugin, tell, NULL);
    return 0;
}
