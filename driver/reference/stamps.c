// SPDX-License-Identifier: GPL-2.0
/*
 * Time stamps of PTP event messages, kept until they are asked for. They are
 * the card's where it is told to stamp (hwstamp_ctl) and its clock is kept on
 * the system's (phc2sys); otherwise those of the kernel: received, as the frame
 * comes to the switch; sent, as the card's driver hands it to the card
 * (skb_tx_timestamp).
 *
 * Stamps of sent frames come as they do to any program that asks for them, by
 * the error queue of a socket. The frame's key there tells what was sent where.
 */
#include <linux/errqueue.h>
#include <linux/jiffies.h>
#include <linux/mm.h>
#include <linux/net.h>
#include <linux/net_tstamp.h>
#include <net/sock.h>

#include "switch.h"

#define TYPES 4 /* 0 Sync, 1 not used, 2 Pdelay_Req, 3 Pdelay_Resp */
#define ROOM 1024 /* successive ones of a type, port and direction */
#define OLDEST (10 * HZ) /* then nobody asks any more */
#define PTP_HEADER 34

struct stamp {
	u64 ns;
	unsigned long taken; /* jiffies */
	u16 sequence;
	bool valid;
};

struct stamps {
	struct stamp of[DIRECTIONS][PORTS][TYPES][ROOM];
};

struct event {
	u16 sequence;
	u8 type;
};

static struct stamps *stamps;
static DEFINE_SPINLOCK(stamps_lock);
static struct socket *sent; /* what its error queue is for */

/* Whether it is an event message; data at the MAC header. */
static bool parse_event(const struct sk_buff *skb, struct event *event)
{
	u8 buffer[ETH_HLEN + PTP_HEADER];
	const u8 *bytes;

	if (skb->protocol != htons(ETH_P_1588))
		return false;
	bytes = skb_header_pointer(skb, 0, sizeof(buffer), buffer);
	if (!bytes)
		return false;
	event->type = bytes[ETH_HLEN] & 0xF;
	event->sequence = get_unaligned_be16(bytes + ETH_HLEN + 30);
	return event->type < TYPES;
}

static struct stamp *place(enum direction direction, u8 port, u8 type,
			   u16 sequence)
{
	return &stamps->of[direction][port][type][sequence % ROOM];
}

static void keep(enum direction direction, u8 port, struct event event, u64 ns)
{
	struct stamp *stamp = place(direction, port, event.type, event.sequence);

	spin_lock_bh(&stamps_lock);
	*stamp = (struct stamp){ ns, jiffies, event.sequence, true };
	spin_unlock_bh(&stamps_lock);
}

/*
 * What the switch's clock showed. A card whose clock is not the system's says
 * nothing that could be used.
 */
static u64 stamp_time(ktime_t card, ktime_t kernel)
{
	if (card && sw_clock_is_near(card))
		return sw_clock_when(card);
	if (kernel && sw_clock_is_near(kernel))
		return sw_clock_when(kernel);
	return sw_clock_now();
}

void sw_stamp_received(u8 port, struct sk_buff *skb)
{
	struct event event;

	if (parse_event(skb, &event))
		keep(RECEIVE, port, event,
		     stamp_time(skb_hwtstamps(skb)->hwtstamp, skb->tstamp));
}

/* 16 bits sequence id, 4 bits type, the port */
static u32 stamp_key(u8 port, struct event event)
{
	return event.sequence | event.type << 16 | port << 20;
}

void sw_stamp_request(u8 port, struct sk_buff *skb)
{
	struct event event;

	if (!parse_event(skb, &event))
		return;
	skb_orphan(skb);
	skb_set_owner_w(skb, sent->sk);
	skb_shinfo(skb)->tx_flags |= SKBTX_SW_TSTAMP | SKBTX_HW_TSTAMP;
	skb_shinfo(skb)->tskey = stamp_key(port, event);
}

void sw_stamps_collect(void)
{
	struct sk_buff *skb;

	ASSERT_RTNL();
	while ((skb = sock_dequeue_err_skb(sent->sk))) {
		u32 key = SKB_EXT_ERR(skb)->ee.ee_data;
		struct event event = { key, key >> 16 & 0xF };

		keep(TRANSMIT, key >> 20, event,
		     stamp_time(skb_hwtstamps(skb)->hwtstamp, skb->tstamp));
		consume_skb(skb);
	}
}

int sw_stamp_take(enum direction direction, u8 port, u8 type, u16 sequence,
		  u64 *ns)
{
	struct stamp *stamp;
	int error = -EAGAIN;

	if (port >= PORTS || type >= TYPES)
		return -EINVAL;
	if (direction == TRANSMIT)
		sw_stamps_collect();
	stamp = place(direction, port, type, sequence);
	spin_lock_bh(&stamps_lock);
	if (stamp->valid && stamp->sequence == sequence &&
	    time_before(jiffies, stamp->taken + OLDEST)) {
		stamp->valid = false;
		*ns = stamp->ns;
		error = 0;
	}
	spin_unlock_bh(&stamps_lock);
	return error;
}

void sw_stamps_flush(void)
{
	skb_queue_purge(&sent->sk->sk_error_queue);
	spin_lock_bh(&stamps_lock);
	memset(stamps, 0, sizeof(*stamps));
	spin_unlock_bh(&stamps_lock);
}

int sw_stamps_init(void)
{
	int error;

	stamps = kvzalloc(sizeof(*stamps), GFP_KERNEL);
	if (!stamps)
		return -ENOMEM;
	/* of protocol 0: it receives no frames */
	error = sock_create_kern(&init_net, PF_PACKET, SOCK_RAW, 0, &sent);
	if (error) {
		kvfree(stamps);
		return error;
	}
	sent->sk->sk_tsflags = SOF_TIMESTAMPING_OPT_ID |
			       SOF_TIMESTAMPING_OPT_TSONLY;
	return 0;
}

void sw_stamps_exit(void)
{
	sock_release(sent);
	kvfree(stamps);
}
