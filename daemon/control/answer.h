#pragma once

#include <memory>
#include <string>

#include "base/control_message.h"
#include "daemon/control/control_queues.h"

namespace norvad {

// The text of an answer on its way to a client, in pieces of at most 2048 characters; an empty one is one empty piece.
class Answer {
public:
    // The pieces are sent in the request's message.
    Answer(std::unique_ptr<ReplyQueue> replies, const ControlMessage& request, std::string text)
        : replies(std::move(replies)), message(request), text(std::move(text)) {}

    // Hands over what the queue takes at once. True when that was the rest, or when nobody will read the rest.
    bool HandOver();

private:
    std::unique_ptr<ReplyQueue> replies;
    ControlMessage message;
    std::string text;
    size_t handedOver = 0;  // characters of the text
};

}  // namespace norvad
