#include "daemon/control/answer.h"

#include <string_view>

namespace norvad {

namespace {

constexpr size_t longestPiece = 2048;  // characters of an answer in one message

}  // namespace

bool Answer::HandOver() {
    do {
        const std::string_view piece = std::string_view(text).substr(handedOver, longestPiece);
        PutText(message.text, piece);
        message.last = handedOver + piece.size() == text.size() ? 1 : 0;
        const ReplyQueue::Outcome outcome = replies->TrySend(message);
        if (outcome != ReplyQueue::Outcome::TAKEN) return outcome == ReplyQueue::Outcome::LOST;
        handedOver += piece.size();
    } while (!message.last);
    return true;
}

}  // namespace norvad
