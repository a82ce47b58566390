// SPDX-License-Identifier: GPL-2.0
/* The tables for whoever looks: /sys/kernel/debug/norvad3_switch. */
#include <linux/debugfs.h>
#include <linux/rtnetlink.h>

#include "switch.h"

static struct dentry *directory;

static struct port_counters count(const struct port *port)
{
	struct port_counters sum = {};
	int cpu, reason;

	for_each_possible_cpu(cpu) {
		const struct port_counters *of = per_cpu_ptr(port->counters, cpu);

		sum.received += READ_ONCE(of->received);
		sum.sent += READ_ONCE(of->sent);
		sum.forwarded += READ_ONCE(of->forwarded);
		sum.trapped += READ_ONCE(of->trapped);
		for (reason = 0; reason < DROP_REASONS; reason++)
			sum.dropped[reason] += READ_ONCE(of->dropped[reason]);
	}
	return sum;
}

static void show_port(struct seq_file *file, const struct port *port)
{
	struct port_counters sum = count(port);
	int reason;

	seq_printf(file, "port %u link 0x%x received %lu sent %lu forwarded %lu trapped %lu\n",
		   port->number, READ_ONCE(port->link), sum.received, sum.sent,
		   sum.forwarded, sum.trapped);
	for (reason = 0; reason < DROP_REASONS; reason++)
		if (sum.dropped[reason])
			seq_printf(file, "port %u dropped %lu %s\n", port->number,
				   sum.dropped[reason], sw_drop_reasons[reason]);
}

static int ports_show(struct seq_file *file, void *unused)
{
	int port;

	for (port = 0; port < PORTS; port++)
		show_port(file, &sw_ports[port]);
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(ports);

static int clock_show(struct seq_file *file, void *unused)
{
	sw_clock_show(file);
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(clock);

static int vlans_show(struct seq_file *file, void *unused)
{
	sw_vlans_show(file);
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(vlans);

static int multicasts_show(struct seq_file *file, void *unused)
{
	sw_groups_show(file);
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(multicasts);

static int limits_show(struct seq_file *file, void *unused)
{
	sw_limits_show(file);
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(limits);

static int stations_show(struct seq_file *file, void *unused)
{
	sw_stations_show(file);
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(stations);

void sw_debugfs_init(void)
{
	directory = debugfs_create_dir("norvad3_switch", NULL);
	debugfs_create_file("ports", 0400, directory, NULL, &ports_fops);
	debugfs_create_file("clock", 0400, directory, NULL, &clock_fops);
	debugfs_create_file("vlans", 0400, directory, NULL, &vlans_fops);
	debugfs_create_file("multicasts", 0400, directory, NULL, &multicasts_fops);
	debugfs_create_file("limits", 0400, directory, NULL, &limits_fops);
	debugfs_create_file("stations", 0400, directory, NULL, &stations_fops);
}

void sw_debugfs_exit(void)
{
	debugfs_remove(directory);
}
