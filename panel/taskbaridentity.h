#pragma once

/**
 * Gives the process its application user-model id, which Windows groups windows and pinned icons by. Does nothing
 * elsewhere.
 *
 * Call it before the first window. Rests on SetCurrentProcessExplicitAppUserModelID().
 */
void setTaskbarIdentity();
