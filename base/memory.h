#pragma once

namespace norvad {

// Gives what was freed back to the system. The allocator by itself keeps it while a few blocks live on between the
// freed ones. Takes some milliseconds after a flood, so ask for it seldom.
void GiveMemoryBack();

}  // namespace norvad
