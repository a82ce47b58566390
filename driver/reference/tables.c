// SPDX-License-Identifier: GPL-2.0
/*
 * The tables that the daemon programs: which ports belong to a VLAN, and where
 * group addresses go. RTNL is held by who changes them, RCU by who reads.
 */
#include <linux/rculist.h>
#include <linux/rtnetlink.h>
#include <linux/slab.h>

#include "switch.h"

#define GROUP_BITS 14
#define GROUPS_MOST 65536

struct group {
	struct hlist_node node;
	struct rcu_head rcu;
	u64 key;
	u8 mask;
};

static u8 vlans[VLAN_N_VID]; /* masks of ports */
static struct hlist_head groups[BIT(GROUP_BITS)];
static unsigned int groups_count;
static u64 multiplier;

void sw_tables_init(void)
{
	multiplier = sw_draw_multiplier();
}

void sw_vlan_set(u16 vid, u8 mask, bool member)
{
	ASSERT_RTNL();
	WRITE_ONCE(vlans[vid], member ? vlans[vid] | mask : vlans[vid] & ~mask);
}

u8 sw_vlan_ports(u16 vid)
{
	return READ_ONCE(vlans[vid]);
}

static struct hlist_head *bucket_of(u64 key)
{
	return &groups[sw_place(key, multiplier, GROUP_BITS)];
}

static struct group *find(u64 key)
{
	struct group *group;

	hlist_for_each_entry_rcu(group, bucket_of(key), node,
				 lockdep_rtnl_is_held())
		if (group->key == key)
			return group;
	return NULL;
}

int sw_group_ports(u64 key)
{
	const struct group *group = find(key);

	return group ? READ_ONCE(group->mask) : -ENOENT;
}

static void remove(struct group *group)
{
	hlist_del_rcu(&group->node);
	kfree_rcu(group, rcu);
	groups_count--;
}

static int add_group(u64 key, u8 mask)
{
	struct group *group;

	if (groups_count >= GROUPS_MOST)
		return -ENOSPC;
	group = kzalloc(sizeof(*group), GFP_KERNEL);
	if (!group)
		return -ENOMEM;
	group->key = key;
	group->mask = mask;
	hlist_add_head_rcu(&group->node, bucket_of(key));
	groups_count++;
	return 0;
}

int sw_group_set(u64 key, u8 mask, bool add)
{
	struct group *group = find(key);

	ASSERT_RTNL();
	if (!group)
		return add && mask ? add_group(key, mask) : 0;
	mask = add ? group->mask | mask : group->mask & ~mask;
	WRITE_ONCE(group->mask, mask);
	if (!mask)
		remove(group);
	return 0;
}

unsigned int sw_group_count(void)
{
	return groups_count;
}

void sw_tables_flush(void)
{
	struct hlist_node *next;
	struct group *group;
	int i;

	memset(vlans, 0, sizeof(vlans));
	for (i = 0; i < ARRAY_SIZE(groups); i++)
		hlist_for_each_entry_safe(group, next, &groups[i], node)
			remove(group);
}

void sw_vlans_show(struct seq_file *file)
{
	int vid;

	for (vid = 0; vid < VLAN_N_VID; vid++)
		if (sw_vlan_ports(vid))
			seq_printf(file, "vid %d port mask 0x%02x\n", vid,
				   sw_vlan_ports(vid));
}

void sw_groups_show(struct seq_file *file)
{
	const struct group *group;
	int i;

	for (i = 0; i < ARRAY_SIZE(groups); i++) {
		rcu_read_lock();
		hlist_for_each_entry_rcu(group, &groups[i], node) {
			u8 address[ETH_ALEN];

			u64_to_ether_addr(group->key, address);
			seq_printf(file, "vid %u address %pM port mask 0x%02x\n",
				   (unsigned int)(group->key >> 48), address,
				   READ_ONCE(group->mask));
		}
		rcu_read_unlock();
	}
}
