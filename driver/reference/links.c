// SPDX-License-Identifier: GPL-2.0
/* The link value: at every change, and in answer to a dump. */
#include <linux/if_bridge.h>
#include <linux/rtnetlink.h>
#include <net/netlink.h>
#include <net/rtnetlink.h>

#include "switch.h"

/* All down while the CPU interface is: the tables are gone then. */
u32 sw_links(void)
{
	u32 value = 0;
	int port;

	if (!netif_running(sw_cpu))
		return 0;
	for (port = 0; port < PORTS; port++)
		value |= NORVAD3_LINK(port, READ_ONCE(sw_ports[port].link));
	return value;
}

int sw_links_dump(struct sk_buff *skb, u32 portid, u32 sequence,
		  struct net_device *dev, u32 filter, int flags)
{
	struct nlmsghdr *header;
	struct ifinfomsg *info;

	header = nlmsg_put(skb, portid, sequence, RTM_NEWLINK, sizeof(*info),
			   flags);
	if (!header)
		return -EMSGSIZE;
	info = nlmsg_data(header);
	*info = (struct ifinfomsg){
		.ifi_family = AF_BRIDGE,
		.ifi_type = dev->type,
		.ifi_index = dev->ifindex,
		.ifi_flags = dev_get_flags(dev),
	};
	if (nla_put_string(skb, IFLA_IFNAME, dev->name) ||
	    nla_put_u32(skb, NORVAD3_IFLA_PORT_LINKS, sw_links())) {
		nlmsg_cancel(skb, header);
		return -EMSGSIZE;
	}
	nlmsg_end(skb, header);
	return 0;
}

void sw_links_report(void)
{
	struct sk_buff *skb = nlmsg_new(NLMSG_DEFAULT_SIZE, GFP_KERNEL);

	if (!skb)
		return;
	if (sw_links_dump(skb, 0, 0, sw_cpu, 0, 0)) {
		kfree_skb(skb);
		return;
	}
	rtnl_notify(skb, dev_net(sw_cpu), 0, RTNLGRP_LINK, NULL, GFP_KERNEL);
	netdev_dbg(sw_cpu, "links 0x%02x\n", sw_links());
}
