#pragma once

#include "usplatform.h"

#include <cstdint>

/**
 * @file
 * Watches the transfers at the platform seam: what was moved, how it ended, and whether the next one may begin.
 *
 * The link's own results do not tell a caller everything: a message that could not be sent for good counts as sent. A
 * watch sees what the platform saw. It stands between the link and the platform.
 */

/// What happened to one transfer.
struct uswatch_transfer_t
{
    /// What was done, or was to be.
    enum kind_t {
        OPEN, ///< the path could not be opened, so the transfer did not take place
        WRITE, ///< a message went to the unit, or was to go
        READ, ///< a block came from the unit, or was to come
    };
    kind_t kind; ///< of the transfer
    const uint8_t *data; ///< the message, or the block as far as it came; null after a failed open
    uint32_t length; ///< of data, in bytes
    uint32_t error; ///< 0 on success, else usplatform_error_t or another code of the platform
};

/// Who watches. Each function gets `context` and is called on the thread that entered the link; each may be null.
struct uswatch_t
{
    void *context; ///< passed back to the functions; the watch's own affair

    /// Called after each transfer. `transfer` and its data live until the function returns.
    void (*moved)(void *context, const uswatch_transfer_t *transfer);

    /**
     * Asked before each transfer and before each pause.
     *
     * @return 0 to go on; an error code to refuse: opening then fails with it, and pauses take no time, so that any
     *         operation of the link ends within one transfer
     */
    uint32_t (*refuses)(void *context);
};

/// Watches at the same time.
inline constexpr uint32_t USWATCH_MAX = 4;

/**
 * Adds a watch to whatever platform is in use. With several, each sees every transfer, in the order they were added,
 * and each may refuse one.
 *
 * @param watch  must live until uswatch_remove()
 * @return 0; 1 when USWATCH_MAX watches are there already
 *
 * Call it, and uswatch_remove(), while no other thread is in the link.
 */
int uswatch_add(const uswatch_t *watch);

/// Takes a watch away again; one that was not added is left alone.
void uswatch_remove(const uswatch_t *watch);
