/* SPDX-License-Identifier: (GPL-2.0 WITH Linux-syscall-note) OR BSD-3-Clause */
/*
 * What the driver of a switch offers to norvad3 on the switch's network interface (the CPU interface): the tag of every
 * frame, the private requests, and the link value. For kernel and user space; docs/driver.md tells what each is for.
 */
#ifndef NORVAD3_SWITCH_H
#define NORVAD3_SWITCH_H

#include <linux/sockios.h>
#include <linux/types.h>

/* Ports by number. A port mask has bit n for port n. */
#define NORVAD3_PORTS 7      /* numbers 0..6 */
#define NORVAD3_PORT_LOCAL 5 /* the board's own host as talker and listener, where a switch has such a port */
#define NORVAD3_PORT_CPU 6   /* leads to the CPU */

/*
 * The tag
 */

#define NORVAD3_ETH_P_TAG 0xDADA

enum norvad3_tag_type {
    NORVAD3_TAG_TO_CPU = 0,     /* came in by the port */
    NORVAD3_TAG_FROM_CPU = 1,   /* is to leave by the port */
    NORVAD3_TAG_TO_SNIFFER = 2, /* not used by norvad3 */
    NORVAD3_TAG_FORWARD = 3     /* not used by norvad3 */
};

#define NORVAD3_TAG_TYPE_SHIFT 6 /* bits 7..6 of type */
#define NORVAD3_TAG_PORT_SHIFT 3 /* bits 7..3 of port */
#define NORVAD3_TAG_FIXED_0 0xE0
#define NORVAD3_TAG_FIXED_1 0x01

/* Between the source address and the frame's own EtherType (or VLAN tag): bytes 12..19 of the frame. */
struct norvad3_cpu_tag {
    __be16 ethertype; /* NORVAD3_ETH_P_TAG */
    __be16 reserved;  /* 0 */
    __u8 type;        /* bits 7..6: enum norvad3_tag_type; bits 5..0: 0 */
    __u8 port;        /* bits 7..3: port, 0..31; bits 2..0: 0 */
    __u8 fixed[2];    /* from the CPU: NORVAD3_TAG_FIXED_0 and _1; to the CPU: not looked at */
} __attribute__((packed));

/*
 * The requests: the ioctl NORVAD3_REQUEST on the CPU interface, its ifr_data the address of a block of
 * NORVAD3_REQUEST_SIZE bytes. A record stands at the beginning of the block, zeros behind it.
 */

#define NORVAD3_REQUEST SIOCDEVPRIVATE
#define NORVAD3_REQUEST_SIZE 32

enum norvad3_command {
    NORVAD3_EGRESS_LIMIT = 12,     /* struct norvad3_egress_limit */
    NORVAD3_PTP_TX_TIMESTAMP = 14, /* struct norvad3_timestamp */
    NORVAD3_PTP_RX_TIMESTAMP = 15, /* struct norvad3_timestamp */
    NORVAD3_PTP_CLOCK_SET = 16,    /* struct norvad3_clock_set */
    NORVAD3_PTP_CLOCKSTEER = 18,   /* struct norvad3_clock_steer */
    NORVAD3_PORT_MCAST = 19,       /* struct norvad3_port_mcast */
    NORVAD3_PORT_VLAN = 20,        /* struct norvad3_port_vlan */
    NORVAD3_ALE_STATUS = 21        /* struct norvad3_header alone: print the address table to the kernel's log */
};

struct norvad3_header {
    __le32 command;  /* enum norvad3_command */
    __le32 reserved; /* 0 */
} __attribute__((packed));

/* The reservations of a port in one VLAN, or a percentage from the operator: docs/driver.md tells them apart. */
struct norvad3_egress_limit {
    struct norvad3_header header;
    __le32 port;
    __le32 parameter; /* VLAN id of the reservations; NORVAD3_OPERATOR_CLASS with a percentage */
    __le32 limit;     /* two's complement; bytes per second, or percent of the link */
} __attribute__((packed));

#define NORVAD3_OPERATOR_CLASS 2         /* also the usual VLAN id of reservations */
#define NORVAD3_LEAST_RESERVATION 400000 /* bytes per second: what the smallest stream reserves */

/* The stamps of one PTP event message, found by direction, port, type and sequence id. */
struct norvad3_timestamp {
    struct norvad3_header header;
    __le64 first;     /* answer: ns, the hardware's stamp; never all ones */
    __le64 second;    /* answer: ns, the same instant on the clock that is stepped and steered; never all ones */
    __u8 sequence[2]; /* transmit: little-endian; receive: as in the message's header, big-endian */
    __u8 type;        /* PTP message type: 0 Sync, 2 Pdelay_Req, 3 Pdelay_Resp */
    __u8 port;        /* that the message left or came in by */
} __attribute__((packed));

struct norvad3_clock_set {
    struct norvad3_header header;
    __le64 offset; /* ns that are added to the clock, two's complement */
} __attribute__((packed));

/* Replaces the steering before it. The clock runs at its oscillator's frequency times 1 + counts * 2^-38. */
struct norvad3_clock_steer {
    struct norvad3_header header;
    __le32 counts; /* two's complement; above 0: faster; 0: no correction */
} __attribute__((packed));

#define NORVAD3_STEER_EXPONENT 38 /* one count is 2^-38 of frequency: 3.64 parts in 10^12 */

/* Whether frames to address in VLAN vid leave by the ports of port_mask; other ports of an entry stay as they are. */
struct norvad3_port_mcast {
    struct norvad3_header header;
    __le32 add; /* 1: add, 0: remove */
    __le32 port_mask;
    __le32 vid;      /* 0..4095, as a talker declared it: to be checked */
    __u8 address[6]; /* as a talker declared it: to be checked */
} __attribute__((packed));

/* Whether the ports of port_mask are members of VLAN vid; other ports stay as they are. */
struct norvad3_port_vlan {
    struct norvad3_header header;
    __le32 state; /* 1: member, 0: not */
    __le32 port_mask;
    __le32 vid; /* 1..4094 */
} __attribute__((packed));

/* The whole block, for drivers that copy it in and out at once. */
union norvad3_request {
    struct norvad3_header header;
    struct norvad3_egress_limit egress_limit;
    struct norvad3_timestamp timestamp;
    struct norvad3_clock_set clock_set;
    struct norvad3_clock_steer clock_steer;
    struct norvad3_port_mcast port_mcast;
    struct norvad3_port_vlan port_vlan;
    __u8 block[NORVAD3_REQUEST_SIZE];
};

/*
 * The link value: in route netlink messages RTM_NEWLINK of family AF_BRIDGE that name the CPU interface, an attribute
 * with 32 bits in the byte order of the host, four for each port, port 0 lowest.
 */

#define NORVAD3_IFLA_PORT_LINKS 10 /* the number that is IFLA_MASTER elsewhere */

#define NORVAD3_LINK_UP 8         /* only together with a speed; a port whose link is down is 0 as a whole */
#define NORVAD3_LINK_FORWARDING 4 /* spanning tree lets frames pass; always set without spanning tree */
#define NORVAD3_LINK_100 1        /* at most 100 Mbit/s */
#define NORVAD3_LINK_1000 2       /* 1 Gbit/s */
#define NORVAD3_LINK_SPEED_MASK 3

/* The bits of one port at their place in the value. */
#define NORVAD3_LINK(port, bits) ((bits) * (1U << (4 * (port))))

#endif
