#include "conversation.h"

namespace {

constexpr size_t header_size = sizeof(usdev_request_t);
constexpr size_t request_offset = 15;
constexpr size_t length_offset = 4;

bool is_write(const ScriptedPlatform::Request &request)
{
    return request.in.at(request_offset) == USDEV_REQ_WRITE;
}

} // namespace

ScriptedPlatform::Answer block(const Conversation::Bytes &bytes)
{
    ScriptedPlatform::Answer answer = {.bytes = bytes, .error = 0};
    answer.bytes.resize(USMSG_MAX_SIZE);
    return answer;
}

Conversation::Conversation()
    : silence(block({}))
{
    platform.otherwise = [this](const ScriptedPlatform::Request &request) { return answer(request); };
}

void Conversation::reply(const Bytes &bytes)
{
    m_replies.push_back(block(bytes));
}

void Conversation::fail_read(uint32_t error)
{
    m_replies.push_back({.bytes = {}, .error = error});
}

void Conversation::fail_write(uint32_t error)
{
    m_write_results.push_back({.bytes = {}, .error = error});
}

std::vector<Conversation::Bytes> Conversation::written() const
{
    std::vector<Bytes> messages;
    for (const ScriptedPlatform::Request &request : platform.requests) {
        if (!is_write(request))
            continue;
        const auto begin = request.in.begin() + header_size;
        messages.emplace_back(begin, begin + request.in.at(length_offset));
    }
    return messages;
}

ScriptedPlatform::Answer Conversation::answer(const ScriptedPlatform::Request &request)
{
    if (is_write(request))
        return next(&m_write_results, {});
    ++m_reads;
    return next(&m_replies, silence);
}

ScriptedPlatform::Answer Conversation::next(std::deque<ScriptedPlatform::Answer> *queue,
                                            const ScriptedPlatform::Answer &last)
{
    if (queue->empty())
        return last;
    ScriptedPlatform::Answer answer = queue->front();
    queue->pop_front();
    return answer;
}
