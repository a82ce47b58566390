// SPDX-License-Identifier: GPL-2.0
/* The two network interfaces that are the switch's external ports. */
#include <linux/ethtool.h>
#include <linux/rtnetlink.h>

#include "switch.h"

int sw_ports_init(void)
{
	int i;

	for (i = 0; i < PORTS; i++) {
		sw_ports[i].number = i;
		sw_ports[i].counters = alloc_percpu(struct port_counters);
		if (!sw_ports[i].counters) {
			sw_ports_exit();
			return -ENOMEM;
		}
	}
	return 0;
}

void sw_ports_exit(void)
{
	int i;

	for (i = 0; i < PORTS; i++)
		free_percpu(sw_ports[i].counters);
}

bool sw_port_attach(struct port *port, struct net_device *dev)
{
	int error;

	ASSERT_RTNL();
	if (rtnl_dereference(port->dev))
		return false;
	error = netdev_rx_handler_register(dev, sw_frame_in, port);
	if (error) {
		netdev_err(dev, "is another's port already: error %d\n", error);
		return false;
	}
	dev_hold(dev);
	dev_set_promiscuity(dev, 1);
	dev_disable_lro(dev);
	rcu_assign_pointer(port->dev, dev);
	netdev_info(dev, "is port %u of %s\n", port->number, sw_cpu->name);
	return true;
}

void sw_port_detach(struct port *port)
{
	struct net_device *dev = rtnl_dereference(port->dev);

	ASSERT_RTNL();
	if (!dev)
		return;
	RCU_INIT_POINTER(port->dev, NULL);
	netdev_rx_handler_unregister(dev);
	synchronize_net(); /* nobody sends on it any more */
	dev_set_promiscuity(dev, -1);
	dev_put(dev);
}

/* The four bits of the link value. Without spanning tree a port forwards. */
static u8 link_of(struct net_device *dev)
{
	struct ethtool_link_ksettings settings;
	u8 speed = NORVAD3_LINK_1000;

	if (!dev || !netif_running(dev) || !netif_carrier_ok(dev))
		return 0;
	if (!__ethtool_get_link_ksettings(dev, &settings) &&
	    settings.base.speed < SPEED_1000)
		speed = NORVAD3_LINK_100;
	return NORVAD3_LINK_UP | NORVAD3_LINK_FORWARDING | speed;
}

bool sw_port_refresh(struct port *port)
{
	u8 link = link_of(rtnl_dereference(port->dev));

	if (link == port->link)
		return false;
	if (!link)
		sw_stations_forget_port(port->number);
	WRITE_ONCE(port->link, link);
	return true;
}

bool sw_port_send(struct port *port, struct sk_buff *skb)
{
	struct net_device *dev = rcu_dereference_bh(port->dev);

	if (!dev || !READ_ONCE(port->link)) {
		sw_drop(port, skb, DROP_LINK_DOWN);
		return false;
	}
	if (!is_skb_forwardable(dev, skb)) {
		sw_drop(port, skb, DROP_TOO_LONG);
		return false;
	}
	this_cpu_inc(port->counters->sent);
	skb->dev = dev;
	dev_queue_xmit(skb);
	return true;
}
