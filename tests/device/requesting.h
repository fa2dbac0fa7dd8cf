#pragma once

class QUSDevice;

/// Asks for everything that can be asked, and sets everything that can be set.
void requestEverything(QUSDevice *device);

/**
 * Runs the event loop until the unit's version was announced, that of no unit (0) included.
 *
 * @return 0; 1 when nothing was announced for half a minute
 */
int awaitVersion(QUSDevice *device);

/// Runs the event loop until each kind of query was answered. Asks again, as an owner does. Results as above.
int awaitEverything(QUSDevice *device);
