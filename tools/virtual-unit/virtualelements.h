#pragma once

#include "virtualunit.h"

#include <cstdint>

/**
 * The elements of messages, as the virtual unit reads and writes them.
 *
 * Of the host's code only the names of identifiers and types are used: a mistake on one side shows as a
 * misunderstanding and is not mirrored by the other. No library, as the unit also goes into a kernel driver.
 */
namespace virtualelements {

inline constexpr uint32_t head_size = 2;
inline constexpr uint32_t string_head_size = 3;
inline constexpr uint32_t ready_flag_size = 3;

/// What one block can carry after the ready flag.
inline constexpr uint32_t largest_group = VIRTUALUNIT_BLOCK_SIZE - ready_flag_size;
inline constexpr uint32_t largest_text = largest_group - string_head_size;

/// An element of a message; its value lies in the message.
struct element_t
{
    uint32_t id;
    uint32_t type;
    const uint8_t *value;
    uint32_t size;
};

/**
 * Reads an element.
 *
 * @param at       where in the message; moves past the element
 * @param element  receives it
 * @return whether there is one: false at the end, at an invalid type and at an element that is cut
 */
bool next(const uint8_t *message, uint32_t length, uint32_t *at, element_t *element);

/// The value of an element with a number of up to four bytes; 0 of one without a value.
uint32_t number_of(const element_t &element);

/// An identifier with a type, as one number: most identifiers mean something with one type only.
constexpr uint32_t key(uint32_t id, uint32_t type)
{
    return id << 8 | type;
}

/// Elements that belong into the same block. The caller that appends makes sure that they fit.
struct group_t
{
    uint8_t bytes[largest_group];
    uint32_t length;
};

void append_mark(group_t *group, uint32_t id);
void append_u8(group_t *group, uint32_t id, uint8_t number);
void append_u16(group_t *group, uint32_t id, uint16_t number);
void append_u32(group_t *group, uint32_t id, uint32_t number);

/// Not zero-terminated, neither here nor in the message.
void append_text(group_t *group, uint32_t id, const char *text, uint32_t length);

/// Names the channel that what follows is about.
void append_channel(group_t *group, const virtualunit_channel_t &channel);

} // namespace virtualelements
