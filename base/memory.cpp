#include "base/memory.h"

#include <malloc.h>

namespace norvad {

void GiveMemoryBack() {
    (void)::malloc_trim(0);
}

}  // namespace norvad
