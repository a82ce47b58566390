// SPDX-License-Identifier: GPL-2.0
/*
 * An AVB switch out of any two network interfaces, for the daemon norvad3:
 *   modprobe norvad3_switch ports=eth1,eth2 cpu=avb0
 *   ip link set eth1 up; ip link set eth2 up; ip link set avb0 up
 *   norvad3 -i avb0
 */
#include <linux/module.h>
#include <linux/rtnetlink.h>

#include "switch.h"

static char *ports[PORTS] = { "eth1", "eth2" };
static int ports_count = PORTS;
module_param_array(ports, charp, &ports_count, 0444);
MODULE_PARM_DESC(ports, "the two interfaces that are ports 0 and 1 (eth1,eth2); they may come later");

static char *cpu = "avb0";
module_param(cpu, charp, 0444);
MODULE_PARM_DESC(cpu, "name of the switch's own interface, the daemon's (avb0)");

static int clock_error;
module_param(clock_error, int, 0444);
MODULE_PARM_DESC(clock_error, "by how much the clock is too fast, in parts per billion (0)");

static unsigned long long clock_offset;
module_param(clock_offset, ullong, 0444);
MODULE_PARM_DESC(clock_offset, "by how much the clock begins ahead of the system's, in ns (0)");

struct port sw_ports[PORTS];
struct net_device *sw_cpu;

/* The switch is known by the address of its port 0. */
static void take_address(const struct net_device *dev)
{
	struct sockaddr address = { .sa_family = sw_cpu->type };

	if (netif_running(sw_cpu))
		return;
	ether_addr_copy(address.sa_data, dev->dev_addr);
	dev_set_mac_address(sw_cpu, &address, NULL);
}

static void attach_by_name(struct net_device *dev)
{
	int i;

	for (i = 0; i < PORTS; i++) {
		if (strcmp(dev->name, ports[i]))
			continue;
		if (sw_port_attach(&sw_ports[i], dev) && i == 0)
			take_address(dev);
	}
}

static int device_event(struct notifier_block *block, unsigned long event,
			void *data)
{
	struct net_device *dev = netdev_notifier_info_to_dev(data);
	bool changed = false;
	int i;

	if (dev_net(dev) != &init_net || dev == sw_cpu)
		return NOTIFY_DONE;
	if (event == NETDEV_REGISTER || event == NETDEV_CHANGENAME)
		attach_by_name(dev);
	for (i = 0; i < PORTS; i++) {
		if (rtnl_dereference(sw_ports[i].dev) != dev)
			continue;
		if (event == NETDEV_UNREGISTER)
			sw_port_detach(&sw_ports[i]);
		changed |= sw_port_refresh(&sw_ports[i]);
	}
	if (changed)
		sw_links_report();
	return NOTIFY_DONE;
}

static struct notifier_block device_notifier = { .notifier_call = device_event };

static int __init make_cpu(void)
{
	int error;

	sw_cpu = sw_cpu_alloc(cpu);
	if (!sw_cpu)
		return -ENOMEM;
	error = register_netdev(sw_cpu);
	if (error)
		sw_cpu_free(sw_cpu);
	return error;
}

static void destroy_cpu(void)
{
	unregister_netdev(sw_cpu);
	sw_cpu_free(sw_cpu);
}

static int __init switch_init(void)
{
	int error;

	if (ports_count != PORTS || !strcmp(ports[0], ports[1])) {
		pr_err("norvad3_switch: ports= wants the names of two interfaces\n");
		return -EINVAL;
	}
	sw_stations_init();
	sw_tables_init();
	sw_clock_init(clock_offset, clock_error);
	error = sw_ports_init();
	if (error)
		return error;
	error = sw_stamps_init();
	if (error)
		goto exit_ports;
	error = make_cpu();
	if (error)
		goto exit_stamps;
	/* it is told of all interfaces that are there */
	error = register_netdevice_notifier(&device_notifier);
	if (error)
		goto exit_cpu;
	sw_debugfs_init();
	return 0;

exit_cpu:
	destroy_cpu();
exit_stamps:
	sw_stamps_exit();
exit_ports:
	sw_ports_exit();
	return error;
}

static void __exit switch_exit(void)
{
	sw_debugfs_exit();
	/* it is told that all interfaces have gone */
	unregister_netdevice_notifier(&device_notifier);
	destroy_cpu();
	rtnl_lock();
	sw_limits_free();
	rtnl_unlock();
	sw_stamps_exit();
	sw_ports_exit();
}

module_init(switch_init);
module_exit(switch_exit);
MODULE_DESCRIPTION("AVB switch of two network interfaces, for norvad3");
MODULE_LICENSE("GPL");
