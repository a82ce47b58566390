#pragma once

namespace norvad {

// Makes sure that a reader of standard output or standard error that has stopped, or gone, does not stop or end this
// process: what a pipe, a terminal or a socket cannot take at once is refused to it from now on, as a broken pipe is.
// Other processes that hold the same pipe or terminal notice nothing. Where it cannot be done the streams stay as they
// are.
void DetachFromReaders();

}  // namespace norvad
