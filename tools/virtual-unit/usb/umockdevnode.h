#pragma once

#include "virtualusb.h"

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <umockdev.h>
#include <vector>

/**
 * The node of one plugged-in device under umockdev: carries out the I/O controls of the kernel's usbfs.
 *
 * Control transfers go to the virtual USB device; everything that would touch an interface is refused and counted,
 * since the sound driver has them. All functions run in the thread of the default main context, callbacks too.
 */
class UmockdevNode
{
public:
    /**
     * Attaches a node of a test bed.
     *
     * @param node     its path below /dev
     * @param address  of the device on its bus
     * @param device   must live until unplug()
     * @param gone     called when the device was pulled out during a transfer, before the host learns of it
     */
    UmockdevNode(UMockdevTestbed *testbed, const std::string &node, unsigned address, virtualusb::Device *device,
                 std::function<void()> gone);
    ~UmockdevNode() = default;
    UmockdevNode(const UmockdevNode &) = delete;
    UmockdevNode &operator=(const UmockdevNode &) = delete;

    /// The device is pulled out: from now on the node answers as the kernel does without it.
    void unplug();

    /// How often the node was asked for what a host beside a sound driver must not ask for.
    static unsigned offences();

private:
    struct UnrefData
    {
        void operator()(UMockdevIoctlData *data) const { umockdev_ioctl_data_unref(data); }
    };
    using Data = std::unique_ptr<UMockdevIoctlData, UnrefData>;

    /// A transfer that the host has not fetched yet.
    struct Urb
    {
        Data data; ///< the kernel's structure
        Data buffer; ///< setup packet and data
        bool finished;
    };

    struct Unref
    {
        void operator()(void *object) const { g_object_unref(object); }
    };

    static int handle_in_worker(UMockdevIoctlBase *, UMockdevIoctlClient *client, UmockdevNode *node);
    void handle(UMockdevIoctlClient *client);
    int carry_out(UMockdevIoctlClient *client);
    int submit(UMockdevIoctlData *argument);
    int discard(UMockdevIoctlData *argument);
    int control_at_once(UMockdevIoctlData *argument);
    int tell_connection(UMockdevIoctlData *argument) const;
    void perform(Urb *urb);
    void reap(UMockdevIoctlClient *client);
    void abandon_all();

    std::unique_ptr<UMockdevIoctlBase, Unref> m_handler;
    unsigned m_address;
    virtualusb::Device *m_device;
    std::function<void()> m_gone;
    bool m_is_plugged = true;
    std::list<Urb> m_urbs; ///< in the order of submission
};
