/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What the parts of the reference driver know of one another. One module is
 * one switch: two network interfaces as its external ports 0 and 1, and a
 * network interface of its own towards the CPU.
 *
 * What changes the tables, the clock or the ports holds RTNL. Frames hold
 * nothing but RCU.
 */
#ifndef NORVAD3_REFERENCE_SWITCH_H
#define NORVAD3_REFERENCE_SWITCH_H

#include <linux/etherdevice.h>
#include <linux/if_vlan.h>
#include <linux/netdevice.h>
#include <linux/random.h>
#include <linux/seq_file.h>
#include <linux/skbuff.h>
#include <linux/version.h>

#include <asm/unaligned.h>

#include "norvad3_switch.h"

#define PORTS 2 /* external ones */
#define PORT_MASK (BIT(PORTS) - 1)
#define TAG_LENGTH sizeof(struct norvad3_cpu_tag)

/* Why a frame went no further; sw_drop_reasons has the words. */
enum drop_reason {
	DROP_LINK_DOWN,
	DROP_NO_RESERVATION, /* a stream address without an entry */
	DROP_NOT_A_MEMBER, /* the VLAN leads to no other port */
	DROP_SAME_PORT, /* the destination is where the frame came from */
	DROP_OVER_LIMIT, /* more than what is reserved */
	DROP_TOO_LONG,
	DROP_NO_MEMORY,
	DROP_REASONS
};

extern const char *const sw_drop_reasons[DROP_REASONS];

struct port_counters {
	unsigned long received;
	unsigned long sent;
	unsigned long forwarded;
	unsigned long trapped;
	unsigned long dropped[DROP_REASONS];
};

struct port {
	struct net_device __rcu *dev; /* none until one of that name is there */
	struct port_counters __percpu *counters;
	u8 number;
	u8 link; /* enum of the link value's four bits; 0: down */
};

/* main.c */
extern struct port sw_ports[PORTS];
extern struct net_device *sw_cpu;

static inline void sw_drop(struct port *port, struct sk_buff *skb,
			   enum drop_reason reason)
{
	this_cpu_inc(port->counters->dropped[reason]);
	kfree_skb(skb);
}

/* An address as a number, in the order in which it is written. */
static inline u64 sw_address(const u8 *address)
{
	return (u64)get_unaligned_be32(address) << 16 |
	       get_unaligned_be16(address + 4);
}

/* What the tables find an address of a VLAN by: 60 bits. */
static inline u64 sw_key(u16 vid, u64 address)
{
	return (u64)vid << 48 | address;
}

/* 01-80-C2-00-00-00..0F and -20..2F: to the CPU, and nowhere else */
static inline bool sw_is_trapped(u64 address)
{
	return (address & ~0x2FULL) == 0x0180C2000000ULL;
}

/*
 * A place of 2^bits for a key. The multiplier is odd and drawn by lot, so that
 * no stranger can choose addresses that fall into one place.
 */
static inline u32 sw_place(u64 key, u64 multiplier, unsigned int bits)
{
	return key * multiplier >> (64 - bits);
}

static inline u64 sw_draw_multiplier(void)
{
	u64 multiplier;

	get_random_bytes(&multiplier, sizeof(multiplier));
	return multiplier | 1;
}

/* ports.c: the two interfaces */
int sw_ports_init(void);
void sw_ports_exit(void);
bool sw_port_attach(struct port *port, struct net_device *dev);
void sw_port_detach(struct port *port);
bool sw_port_refresh(struct port *port); /* true when the link has changed */

/* Sends a frame whose data begins at its MAC header, or frees it. */
bool sw_port_send(struct port *port, struct sk_buff *skb);

/* cpu.c: the interface towards the CPU */
struct net_device *sw_cpu_alloc(const char *name);
void sw_cpu_free(struct net_device *dev);

/* A frame from a port with data at its MAC header becomes one of the CPU's. */
struct sk_buff *sw_cpu_tag(struct sk_buff *skb, u8 port);

/* forward.c: from port to port, or up */
rx_handler_result_t sw_frame_in(struct sk_buff **pskb);

/* stations.c: where unicast addresses were heard last */
void sw_stations_init(void);
void sw_station_heard(u64 key, u8 port);
int sw_station_port(u64 key); /* negative: not known */
void sw_stations_forget_port(u8 port);
void sw_stations_show(struct seq_file *file);

/* tables.c: VLANs and group addresses, as the daemon programs them */
void sw_tables_init(void);
void sw_vlan_set(u16 vid, u8 mask, bool member);
u8 sw_vlan_ports(u16 vid);
int sw_group_set(u64 key, u8 mask, bool add);
int sw_group_ports(u64 key); /* negative: no entry */
unsigned int sw_group_count(void);
void sw_tables_flush(void);
void sw_vlans_show(struct seq_file *file);
void sw_groups_show(struct seq_file *file);

/* limits.c: what streams may take of a port */
int sw_limit_reserve(u8 port, u16 vid, u32 bytes_per_second);
int sw_limit_share(u8 port, u8 percent);
bool sw_limit_allows(u8 port, u16 vid, unsigned int length);
void sw_limits_flush(void); /* operators' shares stay */
void sw_limits_free(void);
void sw_limits_show(struct seq_file *file);

/* clock.c: the one clock, on the system's raw monotonic one */
void sw_clock_init(s64 offset, s32 error);
void sw_clock_step(s64 offset);
void sw_clock_steer(s32 counts);
u64 sw_clock_now(void);
u64 sw_clock_when(ktime_t real); /* what it showed when the system's clock showed real */
bool sw_clock_is_near(ktime_t real); /* within a second before now */
void sw_clock_show(struct seq_file *file);

/* stamps.c: of PTP event messages */
enum direction { RECEIVE, TRANSMIT, DIRECTIONS };

int sw_stamps_init(void);
void sw_stamps_exit(void);
void sw_stamp_received(u8 port, struct sk_buff *skb);
void sw_stamp_request(u8 port, struct sk_buff *skb); /* may orphan it */
int sw_stamp_take(enum direction direction, u8 port, u8 type, u16 sequence,
		  u64 *ns);
void sw_stamps_collect(void); /* before the clock is changed */
void sw_stamps_flush(void);

/* requests.c: what the daemon asks for */
int sw_request(struct net_device *dev, struct ifreq *ifr, void __user *data,
	       int command);

/* links.c: what the daemon is told */
u32 sw_links(void);
void sw_links_report(void);
int sw_links_dump(struct sk_buff *skb, u32 portid, u32 sequence,
		  struct net_device *dev, u32 filter, int flags);

/* debugfs.c */
void sw_debugfs_init(void);
void sw_debugfs_exit(void);

#endif
