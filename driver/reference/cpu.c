// SPDX-License-Identifier: GPL-2.0
/* The CPU interface: where the daemon meets the switch. */
#include <linux/if_bridge.h>
#include <linux/moduleparam.h>

#include "switch.h"

#define PTP_LENGTH_OFFSET (ETH_HLEN + 2) /* messageLength */
#define PTP_HEADER 34

static bool cut_trailer;
module_param(cut_trailer, bool, 0644);
MODULE_PARM_DESC(cut_trailer, "cut PTP messages to their length, for neighbours that refuse bytes behind it");

struct sk_buff *sw_cpu_tag(struct sk_buff *skb, u8 port)
{
	struct norvad3_cpu_tag *tag;

	if (skb_vlan_tag_present(skb)) {
		skb = __vlan_hwaccel_push_inside(skb);
		if (!skb)
			return NULL;
	}
	if (skb_cow_head(skb, TAG_LENGTH)) {
		kfree_skb(skb);
		return NULL;
	}
	skb_push(skb, TAG_LENGTH);
	memmove(skb->data, skb->data + TAG_LENGTH, 2 * ETH_ALEN);
	tag = (struct norvad3_cpu_tag *)(skb->data + 2 * ETH_ALEN);
	*tag = (struct norvad3_cpu_tag){
		.ethertype = htons(NORVAD3_ETH_P_TAG),
		.type = NORVAD3_TAG_TO_CPU << NORVAD3_TAG_TYPE_SHIFT,
		.port = port << NORVAD3_TAG_PORT_SHIFT,
	};
	skb->ip_summed = CHECKSUM_NONE;
	dev_sw_netstats_rx_add(sw_cpu, skb->len);
	skb->protocol = eth_type_trans(skb, sw_cpu);
	skb_reset_network_header(skb);
	skb_reset_mac_len(skb);
	return skb;
}

/* The port of a frame with a tag from the CPU; negative without. */
static int tagged_port(const struct sk_buff *skb)
{
	const struct norvad3_cpu_tag *tag = (void *)(skb->data + 2 * ETH_ALEN);

	if (tag->ethertype != htons(NORVAD3_ETH_P_TAG) ||
	    tag->type >> NORVAD3_TAG_TYPE_SHIFT != NORVAD3_TAG_FROM_CPU)
		return -EINVAL;
	return tag->port >> NORVAD3_TAG_PORT_SHIFT;
}

static int cut_to_message(struct sk_buff *skb)
{
	unsigned int length;

	if (skb->protocol != htons(ETH_P_1588) ||
	    !pskb_may_pull(skb, ETH_HLEN + PTP_HEADER))
		return 0;
	length = ETH_HLEN + get_unaligned_be16(skb->data + PTP_LENGTH_OFFSET);
	length = max_t(unsigned int, length, ETH_ZLEN);
	return pskb_trim(skb, min(length, skb->len));
}

static netdev_tx_t cpu_xmit(struct sk_buff *skb, struct net_device *dev)
{
	int port;

	if (!pskb_may_pull(skb, ETH_HLEN + TAG_LENGTH) || skb_cow_head(skb, 0))
		goto drop;
	port = tagged_port(skb);
	if (port < 0 || port >= PORTS)
		goto drop;
	dev_sw_netstats_tx_add(dev, 1, skb->len);
	memmove(skb->data + TAG_LENGTH, skb->data, 2 * ETH_ALEN);
	skb_pull(skb, TAG_LENGTH);
	skb_reset_mac_header(skb);
	skb->protocol = eth_hdr(skb)->h_proto;
	skb_set_network_header(skb, ETH_HLEN);
	if (cut_trailer && cut_to_message(skb))
		goto drop;
	sw_stamp_request(port, skb);
	sw_port_send(&sw_ports[port], skb);
	return NETDEV_TX_OK;
drop:
	dev->stats.tx_dropped++;
	kfree_skb(skb);
	return NETDEV_TX_OK;
}

static int cpu_open(struct net_device *dev)
{
	netif_start_queue(dev);
	sw_links_report();
	return 0;
}

/* A daemon that starts anew believes the tables to be empty. */
static int cpu_stop(struct net_device *dev)
{
	netif_stop_queue(dev);
	sw_tables_flush();
	sw_limits_flush();
	sw_stamps_flush();
	sw_links_report();
	return 0;
}

/* It joins no groups: what is for the CPU comes without. */
static void cpu_set_rx_mode(struct net_device *dev)
{
}

static const struct net_device_ops cpu_ops = {
	.ndo_open = cpu_open,
	.ndo_stop = cpu_stop,
	.ndo_start_xmit = cpu_xmit,
	.ndo_set_rx_mode = cpu_set_rx_mode,
	.ndo_set_mac_address = eth_mac_addr,
	.ndo_validate_addr = eth_validate_addr,
	.ndo_get_stats64 = dev_get_tstats64,
	.ndo_siocdevprivate = sw_request,
	.ndo_bridge_getlink = sw_links_dump,
};

static void cpu_setup(struct net_device *dev)
{
	ether_setup(dev);
	dev->netdev_ops = &cpu_ops;
	dev->mtu = ETH_DATA_LEN + TAG_LENGTH;
	dev->max_mtu = dev->mtu;
	dev->priv_flags |= IFF_NO_QUEUE;
#if LINUX_VERSION_CODE >= KERNEL_VERSION(6, 12, 0)
	dev->lltx = true;
#else
	dev->features |= NETIF_F_LLTX;
#endif
	eth_hw_addr_random(dev); /* until there is a port 0 */
}

struct net_device *sw_cpu_alloc(const char *name)
{
	struct net_device *dev = alloc_netdev(0, name, NET_NAME_USER, cpu_setup);

	if (!dev)
		return NULL;
	dev->tstats = netdev_alloc_pcpu_stats(struct pcpu_sw_netstats);
	if (dev->tstats)
		return dev;
	free_netdev(dev);
	return NULL;
}

void sw_cpu_free(struct net_device *dev)
{
	free_percpu(dev->tstats);
	free_netdev(dev);
}
