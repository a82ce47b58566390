// SPDX-License-Identifier: GPL-2.0
/*
 * What streams may take of a port: the total that is reserved in a VLAN, and
 * the share of the link that an operator sets. Both are token buckets; a frame
 * beyond them is dropped, so that a talker that sends more than it declared
 * takes it from its own VLAN and from nobody else.
 */
#include <linux/ktime.h>
#include <linux/rcupdate.h>
#include <linux/rtnetlink.h>
#include <linux/slab.h>

#include "switch.h"

#define WIRE_OVERHEAD (ETH_FCS_LEN + 8 + 12) /* preamble and gap */
#define LARGEST (VLAN_ETH_FRAME_LEN + WIRE_OVERHEAD)
#define BYTES_IN_PERCENT (1000000 / 8 / 100) /* of a megabit */
#define BURST_MS 10 /* frames come bunched from a card that polls */

/* Tokens are bytes times 10^9, so that a nanosecond adds the rate. */
struct bucket {
	spinlock_t lock; /* tokens, filled */
	struct rcu_head rcu;
	u32 rate; /* bytes per second */
	u64 tokens;
	u64 filled; /* ns */
};

static struct bucket __rcu *reservations[PORTS][VLAN_N_VID];
static struct bucket __rcu *shares[PORTS];
static u8 percents[PORTS];

static u64 depth_of(const struct bucket *bucket)
{
	return (u64)bucket->rate * BURST_MS * NSEC_PER_MSEC +
	       2ULL * LARGEST * NSEC_PER_SEC;
}

static bool take(struct bucket *bucket, unsigned int length)
{
	u64 now = ktime_get_ns(), cost = (u64)length * NSEC_PER_SEC;
	bool enough;

	spin_lock_bh(&bucket->lock);
	if (now > bucket->filled) {
		u64 elapsed = min_t(u64, now - bucket->filled, NSEC_PER_SEC);

		bucket->tokens = min(bucket->tokens + elapsed * bucket->rate,
				     depth_of(bucket));
		bucket->filled = now;
	}
	enough = bucket->tokens >= cost;
	if (enough)
		bucket->tokens -= cost;
	spin_unlock_bh(&bucket->lock);
	return enough;
}

/* Replaces the bucket; rate 0: by none. */
static int set(struct bucket __rcu **place, u32 rate)
{
	struct bucket *bucket = NULL, *before = rtnl_dereference(*place);

	if (rate) {
		bucket = kzalloc(sizeof(*bucket), GFP_KERNEL);
		if (!bucket)
			return -ENOMEM;
		spin_lock_init(&bucket->lock);
		bucket->rate = rate;
		bucket->filled = ktime_get_ns();
		bucket->tokens = depth_of(bucket);
	}
	rcu_assign_pointer(*place, bucket);
	if (before)
		kfree_rcu(before, rcu);
	return 0;
}

/*
 * Totals beyond any link arrive, also such as overflowed: they are limits that
 * are never reached.
 */
int sw_limit_reserve(u8 port, u16 vid, u32 bytes_per_second)
{
	return set(&reservations[port][vid], bytes_per_second);
}

int sw_limit_share(u8 port, u8 percent)
{
	u8 speed = sw_ports[port].link & NORVAD3_LINK_SPEED_MASK;
	u32 megabits = speed == NORVAD3_LINK_100 ? 100 : 1000;

	percents[port] = percent;
	return set(&shares[port], megabits * BYTES_IN_PERCENT * percent);
}

bool sw_limit_allows(u8 port, u16 vid, unsigned int length)
{
	struct bucket *reservation = rcu_dereference(reservations[port][vid]);
	struct bucket *share = rcu_dereference(shares[port]);

	length += WIRE_OVERHEAD;
	if (reservation && !take(reservation, length))
		return false;
	return !share || take(share, length);
}

void sw_limits_flush(void)
{
	int port, vid;

	for (port = 0; port < PORTS; port++)
		for (vid = 0; vid < VLAN_N_VID; vid++)
			set(&reservations[port][vid], 0);
}

void sw_limits_free(void)
{
	int port;

	sw_limits_flush();
	for (port = 0; port < PORTS; port++)
		set(&shares[port], 0);
}

void sw_limits_show(struct seq_file *file)
{
	const struct bucket *bucket;
	int port, vid;

	rcu_read_lock();
	for (port = 0; port < PORTS; port++) {
		for (vid = 0; vid < VLAN_N_VID; vid++) {
			bucket = rcu_dereference(reservations[port][vid]);
			if (bucket)
				seq_printf(file, "port %d vid %d limit %u bytes/s\n",
					   port, vid, bucket->rate);
		}
		bucket = rcu_dereference(shares[port]);
		if (bucket)
			seq_printf(file, "port %d share %u %% limit %u bytes/s\n",
				   port, percents[port], bucket->rate);
	}
	rcu_read_unlock();
}
