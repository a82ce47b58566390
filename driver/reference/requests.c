// SPDX-License-Identifier: GPL-2.0
/* The daemon's requests. The core holds RTNL meanwhile and checks no right. */
#include <linux/capability.h>
#include <linux/rtnetlink.h>
#include <linux/uaccess.h>

#include "switch.h"

static bool is_port_mask(u32 mask)
{
	return mask < BIT(NORVAD3_PORTS);
}

/* From 1 to 100 of the operator's class it is a share of the link. */
static int set_limit(const struct norvad3_egress_limit *r)
{
	u32 port = le32_to_cpu(r->port), parameter = le32_to_cpu(r->parameter);
	u32 limit = le32_to_cpu(r->limit);

	netdev_dbg(sw_cpu, "egress limit port %u parameter %u limit %d\n", port,
		   parameter, (s32)limit);
	if (port >= PORTS || parameter >= VLAN_N_VID)
		return -EINVAL;
	if (parameter == NORVAD3_OPERATOR_CLASS && limit >= 1 && limit <= 100)
		return sw_limit_share(port, limit);
	return sw_limit_reserve(port, parameter, limit);
}

static int query_stamp(struct norvad3_timestamp *r, enum direction direction)
{
	u16 sequence = direction == TRANSMIT ? get_unaligned_le16(r->sequence) :
					       get_unaligned_be16(r->sequence);
	u64 ns;
	int error = sw_stamp_take(direction, r->port, r->type & 0xF, sequence,
				  &ns);

	if (error == -EAGAIN)
		netdev_dbg(sw_cpu, "no %s stamp port %u type %u sequence %u\n",
			   direction == TRANSMIT ? "transmit" : "receive",
			   r->port, r->type & 0xF, sequence);
	if (error)
		return error;
	r->first = cpu_to_le64(ns);
	r->second = r->first;
	return 0;
}

static int step_clock(const struct norvad3_clock_set *r)
{
	s64 offset = le64_to_cpu(r->offset);

	sw_stamps_collect();
	sw_clock_step(offset);
	netdev_dbg(sw_cpu, "clock step %lld ns\n", offset);
	return 0;
}

static int steer_clock(const struct norvad3_clock_steer *r)
{
	s32 counts = le32_to_cpu(r->counts);

	sw_stamps_collect();
	sw_clock_steer(counts);
	netdev_dbg(sw_cpu, "clock steer %d\n", counts);
	return 0;
}

static int set_group(const struct norvad3_port_mcast *r)
{
	u32 add = le32_to_cpu(r->add), mask = le32_to_cpu(r->port_mask);
	u32 vid = le32_to_cpu(r->vid);
	u64 address = sw_address(r->address);

	netdev_dbg(sw_cpu, "multicast %s port mask 0x%02x vid %u %pM\n",
		   add ? "add" : "remove", mask, vid, r->address);
	if (add > 1 || !is_port_mask(mask) || vid >= VLAN_N_VID ||
	    !is_multicast_ether_addr(r->address) || sw_is_trapped(address))
		return -EINVAL;
	return sw_group_set(sw_key(vid, address), mask, add);
}

static int set_vlan(const struct norvad3_port_vlan *r)
{
	u32 state = le32_to_cpu(r->state), mask = le32_to_cpu(r->port_mask);
	u32 vid = le32_to_cpu(r->vid);

	netdev_dbg(sw_cpu, "vlan %s port mask 0x%02x vid %u\n",
		   state ? "add" : "remove", mask, vid);
	if (state > 1 || !is_port_mask(mask) || vid >= VLAN_N_VID)
		return -EINVAL;
	sw_vlan_set(vid, mask, state);
	return 0;
}

static int show_status(void)
{
	netdev_info(sw_cpu, "links 0x%02x, %u group addresses; all tables are in debugfs\n",
		    sw_links(), sw_group_count());
	return 0;
}

static int execute(union norvad3_request *r)
{
	switch (le32_to_cpu(r->header.command)) {
	case NORVAD3_EGRESS_LIMIT:
		return set_limit(&r->egress_limit);
	case NORVAD3_PTP_TX_TIMESTAMP:
		return query_stamp(&r->timestamp, TRANSMIT);
	case NORVAD3_PTP_RX_TIMESTAMP:
		return query_stamp(&r->timestamp, RECEIVE);
	case NORVAD3_PTP_CLOCK_SET:
		return step_clock(&r->clock_set);
	case NORVAD3_PTP_CLOCKSTEER:
		return steer_clock(&r->clock_steer);
	case NORVAD3_PORT_MCAST:
		return set_group(&r->port_mcast);
	case NORVAD3_PORT_VLAN:
		return set_vlan(&r->port_vlan);
	case NORVAD3_ALE_STATUS:
		return show_status();
	}
	return -EOPNOTSUPP;
}

int sw_request(struct net_device *dev, struct ifreq *ifr, void __user *data,
	       int command)
{
	union norvad3_request request;
	int error;

	if (command != NORVAD3_REQUEST)
		return -EOPNOTSUPP;
	if (!ns_capable(dev_net(dev)->user_ns, CAP_NET_ADMIN))
		return -EPERM;
	if (copy_from_user(&request, data, sizeof(request)))
		return -EFAULT;
	error = execute(&request);
	if (error)
		return error;
	return copy_to_user(data, &request, sizeof(request)) ? -EFAULT : 0;
}
