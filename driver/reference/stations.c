// SPDX-License-Identifier: GPL-2.0
/*
 * Where unicast addresses were heard last. Each has one place that it may
 * stand in; the later of two with the same place puts the other out, whose
 * frames then go everywhere in their VLAN until it speaks again.
 */
#include <linux/atomic.h>
#include <linux/jiffies.h>

#include "switch.h"

#define STATION_BITS 12
#define STATIONS BIT(STATION_BITS)
#define OLDEST (300 * HZ)

/* Both change while others look; neither is much use without the other. */
struct station {
	atomic64_t who; /* the key, and above it the port + 1; 0: nobody */
	unsigned long heard; /* jiffies */
};

static struct station stations[STATIONS];
static u64 multiplier;

static struct station *station_of(u64 key)
{
	return &stations[sw_place(key, multiplier, STATION_BITS)];
}

static u64 who_of(u64 key, u8 port)
{
	return key | (u64)(port + 1) << 60;
}

static bool is_old(const struct station *station)
{
	return time_after(jiffies, READ_ONCE(station->heard) + OLDEST);
}

void sw_stations_init(void)
{
	multiplier = sw_draw_multiplier();
}

void sw_station_heard(u64 key, u8 port)
{
	struct station *station = station_of(key);
	u64 who = who_of(key, port);

	/* What all frames of a tick would write, one does. */
	if (time_after(jiffies, READ_ONCE(station->heard)))
		WRITE_ONCE(station->heard, jiffies);
	if (atomic64_read(&station->who) != who)
		atomic64_set(&station->who, who);
}

int sw_station_port(u64 key)
{
	const struct station *station = station_of(key);
	u64 who = atomic64_read(&station->who);

	if (!who || ((who ^ key) & GENMASK_ULL(59, 0)) || is_old(station))
		return -ENOENT;
	return (int)(who >> 60) - 1;
}

void sw_stations_forget_port(u8 port)
{
	int i;

	for (i = 0; i < STATIONS; i++) {
		s64 who = atomic64_read(&stations[i].who);

		if ((u64)who >> 60 == port + 1)
			atomic64_cmpxchg(&stations[i].who, who, 0);
	}
}

void sw_stations_show(struct seq_file *file)
{
	int i;

	for (i = 0; i < STATIONS; i++) {
		u64 who = atomic64_read(&stations[i].who);
		u8 address[ETH_ALEN];

		if (!who || is_old(&stations[i]))
			continue;
		u64_to_ether_addr(who, address);
		seq_printf(file, "vid %u address %pM port %u\n",
			   (unsigned int)(who >> 48 & VLAN_VID_MASK), address,
			   (unsigned int)(who >> 60) - 1);
	}
}
