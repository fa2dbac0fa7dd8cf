#pragma once

#include <QString>

/**
 * The unit that the owner programs of lifetime_test find: the virtual unit, or one whose transfers take their time.
 *
 * The environment variable KDMX_OWNER_UNIT names it, for it is looked for before main():
 *
 *     ready        answers at once (also without the variable)
 *     absent       is not plugged in
 *     slow         each transfer takes 200 ms
 *     cancellable  no transfer ends until it is called off
 *     hung         no transfer ever ends
 *     late         no transfer ends until the program's last objects are taken down
 *
 * Make it before the device: it must outlive it. At its end it complains on standard error when the device has ended
 * without its worker, which is allowed only for "hung" and "late".
 */
class OwnerUnit
{
public:
    OwnerUnit();
    ~OwnerUnit();
    Q_DISABLE_COPY_MOVE(OwnerUnit)

    /// Waits until a transfer has begun; with a unit that is absent for ever.
    void waitForTransfer() const;
};
