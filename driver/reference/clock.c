// SPDX-License-Identifier: GPL-2.0
/*
 * The switch's clock. It runs on the system's raw monotonic clock, which nobody
 * steps or slews, as fast as its oscillator's error and the steering make it.
 */
#include <linux/ktime.h>
#include <linux/math64.h>
#include <linux/seqlock.h>

#include "switch.h"

#define FRACTION_MASK (BIT_ULL(NORVAD3_STEER_EXPONENT) - 1)

struct reading {
	u64 reference; /* ns of the raw clock */
	u64 value; /* ns that this clock shows then */
	u64 fraction; /* and the rest, in 2^-38 ns */
	s64 rate; /* how much faster than the reference, in 2^-38 */
};

static struct reading clock;
static DEFINE_SEQLOCK(clock_lock);
static s32 clock_error; /* parts per billion */
static s32 clock_counts;

/* Goes on, or back, to another instant of the reference. */
static void move(struct reading *r, u64 reference)
{
	s64 elapsed = reference - r->reference;
	u64 way = abs(elapsed), rate = abs(r->rate);
	u64 whole = mul_u64_u64_shr(way, rate, NORVAD3_STEER_EXPONENT);
	u64 rest = (way * rate) & FRACTION_MASK;
	bool is_back = elapsed < 0, is_slow = r->rate < 0;

	r->reference = reference;
	r->value += elapsed;
	if (is_back == is_slow) {
		rest += r->fraction;
		r->value += whole + (rest >> NORVAD3_STEER_EXPONENT);
	} else {
		rest = r->fraction - rest; /* wraps: then it borrows one */
		r->value -= whole + (rest >> 63);
	}
	r->fraction = rest & FRACTION_MASK;
}

static u64 clock_at(u64 reference)
{
	struct reading r;
	unsigned int sequence;

	do {
		sequence = read_seqbegin(&clock_lock);
		r = clock;
	} while (read_seqretry(&clock_lock, sequence));
	move(&r, reference);
	return r.value;
}

u64 sw_clock_now(void)
{
	return clock_at(ktime_get_raw_ns());
}

u64 sw_clock_when(ktime_t real)
{
	struct system_time_snapshot now;

	ktime_get_snapshot(&now);
	return clock_at(ktime_to_ns(now.raw) -
			ktime_to_ns(ktime_sub(now.real, real)));
}

bool sw_clock_is_near(ktime_t real)
{
	s64 ago = ktime_to_ns(ktime_sub(ktime_get_real(), real));

	return ago > -(s64)NSEC_PER_MSEC && ago < (s64)NSEC_PER_SEC;
}

/* The oscillator's error and the correction multiply. */
static s64 rate_of(s32 counts)
{
	s64 error = div_s64((s64)clock_error << NORVAD3_STEER_EXPONENT,
			    NSEC_PER_SEC);

	return error + counts + div_s64((s64)clock_error * counts, NSEC_PER_SEC);
}

void sw_clock_init(s64 offset, s32 error)
{
	clock_error = clamp_t(s32, error, -10000000, 10000000);
	clock.reference = ktime_get_raw_ns();
	clock.value = ktime_get_real_ns() + offset;
	clock.rate = rate_of(0);
}

void sw_clock_step(s64 offset)
{
	write_seqlock_bh(&clock_lock);
	clock.value += offset;
	write_sequnlock_bh(&clock_lock);
}

void sw_clock_steer(s32 counts)
{
	write_seqlock_bh(&clock_lock);
	move(&clock, ktime_get_raw_ns());
	clock.rate = rate_of(counts);
	clock_counts = counts;
	write_sequnlock_bh(&clock_lock);
}

void sw_clock_show(struct seq_file *file)
{
	struct system_time_snapshot now;
	u64 value;

	ktime_get_snapshot(&now);
	value = clock_at(ktime_to_ns(now.raw));
	seq_printf(file, "time %llu ns ahead of the system's by %lld ns steering %d error %d ppb\n",
		   value, (s64)(value - ktime_to_ns(now.real)), clock_counts,
		   clock_error);
}
