// What a driver gets to see of the header: everything in it is as large in C as in C++, where the tests compare it.
#include "norvad3_switch.h"

_Static_assert(sizeof(struct norvad3_cpu_tag) == 8, "the tag");
_Static_assert(sizeof(struct norvad3_header) == 8, "the head of every record");
_Static_assert(sizeof(struct norvad3_egress_limit) == 20, "NORVAD3_EGRESS_LIMIT");
_Static_assert(sizeof(struct norvad3_timestamp) == 28, "NORVAD3_PTP_TX_TIMESTAMP and NORVAD3_PTP_RX_TIMESTAMP");
_Static_assert(sizeof(struct norvad3_clock_set) == 16, "NORVAD3_PTP_CLOCK_SET");
_Static_assert(sizeof(struct norvad3_clock_steer) == 12, "NORVAD3_PTP_CLOCKSTEER");
_Static_assert(sizeof(struct norvad3_port_mcast) == 26, "NORVAD3_PORT_MCAST");
_Static_assert(sizeof(struct norvad3_port_vlan) == 20, "NORVAD3_PORT_VLAN");
_Static_assert(sizeof(union norvad3_request) == NORVAD3_REQUEST_SIZE, "the block");

// The record of a command starts at the beginning of the block.
void norvad3_test_answer(union norvad3_request *request);
void norvad3_test_answer(union norvad3_request *request) {
    for (unsigned byte = 0; byte < sizeof request->timestamp.first; ++byte) {
        request->block[8 + byte] = (__u8)(0x10 + byte);
        request->block[16 + byte] = (__u8)(0x20 + byte);
    }
}
