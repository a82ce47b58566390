// SPDX-License-Identifier: GPL-2.0
/* What becomes of a frame that comes in by a port. */
#include "switch.h"

#define STREAM_ADDRESSES 0x91E0F0000000ULL /* and the 2^24 from there on */
#define GROUP_BIT BIT_ULL(40)

const char *const sw_drop_reasons[DROP_REASONS] = {
	[DROP_LINK_DOWN] = "link down",
	[DROP_NO_RESERVATION] = "no reservation",
	[DROP_NOT_A_MEMBER] = "not a member",
	[DROP_SAME_PORT] = "same port",
	[DROP_OVER_LIMIT] = "over limit",
	[DROP_TOO_LONG] = "too long",
	[DROP_NO_MEMORY] = "no memory",
};

static bool is_stream(u64 address)
{
	return (address & ~0xFFFFFFULL) == STREAM_ADDRESSES;
}

/* Untagged and priority-tagged frames belong to no VLAN: 0. */
static u16 vid_of(const struct sk_buff *skb)
{
	if (!skb_vlan_tag_present(skb) || skb->vlan_proto != htons(ETH_P_8021Q))
		return 0;
	return skb_vlan_tag_get_id(skb);
}

static rx_handler_result_t trap(struct port *from, struct sk_buff **pskb)
{
	if (!netif_running(sw_cpu)) {
		sw_drop(from, *pskb, DROP_LINK_DOWN);
		return RX_HANDLER_CONSUMED;
	}
	*pskb = sw_cpu_tag(*pskb, from->number);
	if (!*pskb) {
		this_cpu_inc(from->counters->dropped[DROP_NO_MEMORY]);
		return RX_HANDLER_CONSUMED;
	}
	this_cpu_inc(from->counters->trapped);
	return RX_HANDLER_ANOTHER;
}

/* data at the MAC header */
static rx_handler_result_t pass_on(struct port *from, struct port *to,
				   struct sk_buff *skb)
{
	if (skb_vlan_tag_present(skb))
		skb->priority = skb_vlan_tag_get_prio(skb);
	skb_forward_csum(skb);
	skb_clear_tstamp(skb);
	if (sw_port_send(to, skb))
		this_cpu_inc(from->counters->forwarded);
	return RX_HANDLER_CONSUMED;
}

static rx_handler_result_t drop(struct port *from, struct sk_buff *skb,
				enum drop_reason reason)
{
	sw_drop(from, skb, reason);
	return RX_HANDLER_CONSUMED;
}

/* With the VLAN tag that stands beside the frame. */
static unsigned int length_of(const struct sk_buff *skb)
{
	return skb->len + (skb_vlan_tag_present(skb) ? VLAN_HLEN : 0);
}

/*
 * A group address with an entry goes by that entry alone. Without one a stream
 * goes nowhere, and everything else to the members of the VLAN.
 */
static rx_handler_result_t group_in(struct port *from, struct port *to,
				    struct sk_buff *skb, u64 address)
{
	u16 vid = vid_of(skb);
	int ports = sw_group_ports(sw_key(vid, address));

	if (ports >= 0) {
		if (!(ports & BIT(to->number)))
			return drop(from, skb, DROP_NO_RESERVATION);
		if (!sw_limit_allows(to->number, vid, length_of(skb)))
			return drop(to, skb, DROP_OVER_LIMIT);
		return pass_on(from, to, skb);
	}
	if (is_stream(address))
		return drop(from, skb, DROP_NO_RESERVATION);
	if (vid && !(sw_vlan_ports(vid) & BIT(to->number)))
		return drop(from, skb, DROP_NOT_A_MEMBER);
	return pass_on(from, to, skb);
}

static rx_handler_result_t unicast_in(struct port *from, struct port *to,
				      struct sk_buff *skb, u64 address)
{
	u16 vid = vid_of(skb);

	if (sw_station_port(sw_key(vid, address)) == from->number)
		return drop(from, skb, DROP_SAME_PORT);
	if (vid && !(sw_vlan_ports(vid) & BIT(to->number)))
		return drop(from, skb, DROP_NOT_A_MEMBER);
	return pass_on(from, to, skb);
}

rx_handler_result_t sw_frame_in(struct sk_buff **pskb)
{
	struct sk_buff *skb = *pskb;
	struct port *from = rcu_dereference(skb->dev->rx_handler_data);
	struct port *to = &sw_ports[!from->number];
	u64 address, source;

	if (unlikely(skb->pkt_type == PACKET_LOOPBACK))
		return RX_HANDLER_PASS;
	this_cpu_inc(from->counters->received);
	skb = skb_share_check(skb, GFP_ATOMIC);
	if (unlikely(!skb)) {
		this_cpu_inc(from->counters->dropped[DROP_NO_MEMORY]);
		return RX_HANDLER_CONSUMED;
	}
	*pskb = skb;
	skb_push(skb, ETH_HLEN);
	address = sw_address(eth_hdr(skb)->h_dest);
	if (unlikely(sw_is_trapped(address))) {
		sw_stamp_received(from->number, skb);
		return trap(from, pskb);
	}
	source = sw_address(eth_hdr(skb)->h_source);
	if (likely(source && !(source & GROUP_BIT)))
		sw_station_heard(sw_key(vid_of(skb), source), from->number);
	if (address & GROUP_BIT)
		return group_in(from, to, skb, address);
	if (ether_addr_equal(eth_hdr(skb)->h_dest, sw_cpu->dev_addr))
		return trap(from, pskb);
	return unicast_in(from, to, skb, address);
}
