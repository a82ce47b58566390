#include "ctl/streams.h"

#include <algorithm>
#include <map>

namespace norvad::ctl {

namespace {

template <typename Records, typename Holds>
auto Find(const Records& records, Holds holds) -> decltype(&records.front()) {
    const auto found = std::find_if(records.begin(), records.end(), holds);
    return found == records.end() ? nullptr : &*found;
}

}  // namespace

const TalkerRecord* Stream::Talker() const {
    const auto* heard = Find(talkers, [](const TalkerRecord& talker) { return talker.machines.IsRegistered(); });
    if (heard) return heard;
    return talkers.empty() ? nullptr : &talkers.front();
}

std::optional<unsigned> Stream::TalkerPort() const {
    const TalkerRecord* talker = Talker();
    if (!talker || !talker->machines.IsRegistered()) return {};
    return talker->port;
}

const TalkerRecord* Stream::Failed() const {
    const TalkerRecord* talker = Talker();
    if (talker && talker->failure) return talker;
    return Find(talkers, [](const TalkerRecord& other) { return other.failure && other.machines.IsDeclared(); });
}

Reserved Stream::ReservedFor(const ListenerRecord& listener) const {
    const auto carriesOn = [&](unsigned port) {
        return Find(listeners, [port](const ListenerRecord& l) { return l.port == port && l.machines.IsDeclared(); });
    };
    const auto* talker = Find(talkers, [&](const TalkerRecord& t) {
        return !t.failure && t.port != listener.port && t.machines.IsRegistered() && carriesOn(t.port);
    });
    if (!talker || !listener.machines.IsRegistered()) return Reserved::NO;
    switch (listener.declaration) {
        case Declaration::READY:
        case Declaration::READY_FAILED:
            return Reserved::YES;
        case Declaration::ASKING_FAILED:
            return Reserved::UNKNOWN;
        case Declaration::IGNORE:
        case Declaration::UNKNOWN:
            break;
    }
    return Reserved::NO;
}

bool Stream::IsOn(unsigned port) const {
    const auto stands = [port](const auto& record) { return record.port == port; };
    return Find(talkers, stands) || Find(listeners, stands);
}

std::vector<Stream> GroupByStream(const StreamsAnswer& answer) {
    std::map<Id, Stream> streams;
    for (const TalkerRecord& talker : answer.talkers) streams[talker.stream].talkers.push_back(talker);
    for (const ListenerRecord& listener : answer.listeners) streams[listener.stream].listeners.push_back(listener);
    std::vector<Stream> result;
    result.reserve(streams.size());
    for (auto& [id, stream] : streams) {
        stream.id = id;
        result.push_back(std::move(stream));
    }
    return result;
}

}  // namespace norvad::ctl
