#include "umockdevnode.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <utility>
// The I/O control numbers need this first.
#include <sys/ioctl.h>

#include <linux/usbdevice_fs.h>

namespace {

constexpr size_t setup_size = 8;
constexpr long high_speed = 3; // in the kernel's numbers
constexpr unsigned char not_slow = 0;

// Under umockdev the node is a plain file and always seems to have news, so a host that waits for the end of a transfer
// asks without a pause. The answer that there is no news takes this long.
constexpr unsigned patience_ms = 1;

unsigned offence_count = 0;

/// Copies what an I/O control's argument points to into a structure.
template <typename Structure>
Structure structure_in(const UMockdevIoctlData &data)
{
    Structure structure;
    std::memcpy(&structure, data.data, sizeof(structure));
    return structure;
}

void update(UMockdevIoctlData *data, size_t offset, std::span<const uint8_t> bytes)
{
    // The library does not change what it copies from.
    umockdev_ioctl_data_update(data, offset, const_cast<uint8_t *>(bytes.data()), static_cast<int>(bytes.size()));
}

template <typename Structure>
void update(UMockdevIoctlData *data, const Structure &structure)
{
    update(data, 0, {reinterpret_cast<const uint8_t *>(&structure), sizeof(structure)});
}

UMockdevIoctlData *resolve(UMockdevIoctlData *data, size_t offset, size_t length)
{
    return umockdev_ioctl_data_resolve(data, offset, length, nullptr);
}

/// The pointer that the argument of an I/O control is.
unsigned long pointer_in(const UMockdevIoctlData &argument)
{
    return structure_in<unsigned long>(argument);
}

/// Ends an I/O control with success, or with an error number.
void complete(UMockdevIoctlClient *client, int error)
{
    umockdev_ioctl_client_complete(client, error == 0 ? 0 : -1, error);
}

/// Status of a transfer as the kernel gives it: 0 or a negative error number.
int status_of(virtualusb::Outcome outcome)
{
    switch (outcome) {
    case virtualusb::Outcome::Done:
        return 0;
    case virtualusb::Outcome::Stalled:
        return -EPIPE;
    case virtualusb::Outcome::Late:
        return -ENOENT; // once the host has called the transfer off
    case virtualusb::Outcome::Failed:
        return -EPROTO;
    case virtualusb::Outcome::Gone:
        return -ESHUTDOWN;
    }
    return -EPROTO;
}

} // namespace

UmockdevNode::UmockdevNode(UMockdevTestbed *testbed, const std::string &node, unsigned address,
                           virtualusb::Device *device, std::function<void()> gone)
    : m_handler(umockdev_ioctl_base_new())
    , m_address(address)
    , m_device(device)
    , m_gone(std::move(gone))
{
    g_signal_connect(m_handler.get(), "handle-ioctl", G_CALLBACK(handle_in_worker), this);
    GError *error = nullptr;
    if (umockdev_testbed_attach_ioctl(testbed, node.c_str(), m_handler.get(), &error) == FALSE) {
        std::fprintf(stderr, "The test bed does not attach %s: %s\n", node.c_str(), error->message);
        std::abort();
    }
}

void UmockdevNode::unplug()
{
    m_is_plugged = false;
    m_device = nullptr;
    abandon_all();
}

unsigned UmockdevNode::offences()
{
    return offence_count;
}

/// The library calls from a thread of its own; everything else is left to the main one, so that nothing needs a lock.
int UmockdevNode::handle_in_worker(UMockdevIoctlBase *, UMockdevIoctlClient *client, UmockdevNode *node)
{
    using Call = std::pair<UmockdevNode *, UMockdevIoctlClient *>;
    auto *const call = new Call(node, static_cast<UMockdevIoctlClient *>(g_object_ref(client)));
    g_idle_add_full(
        G_PRIORITY_DEFAULT,
        [](void *data) -> gboolean {
            const std::unique_ptr<Call> owned(static_cast<Call *>(data));
            const std::unique_ptr<UMockdevIoctlClient, Unref> owned_client(owned->second);
            owned->first->handle(owned_client.get());
            return G_SOURCE_REMOVE;
        },
        call, nullptr);
    return TRUE;
}

void UmockdevNode::handle(UMockdevIoctlClient *client)
{
    const unsigned long request = umockdev_ioctl_client_get_request(client);
    if (request == USBDEVFS_REAPURBNDELAY || request == USBDEVFS_REAPURB)
        reap(client);
    else if (request == USBDEVFS_GET_SPEED && m_is_plugged)
        umockdev_ioctl_client_complete(client, high_speed, 0);
    else
        complete(client, carry_out(client));
}

/// @return 0 or an error number
int UmockdevNode::carry_out(UMockdevIoctlClient *client)
{
    UMockdevIoctlData *const argument = umockdev_ioctl_client_get_arg(client);
    const unsigned long request = umockdev_ioctl_client_get_request(client);
    if (!m_is_plugged)
        return ENODEV;
    switch (request) {
    case USBDEVFS_SUBMITURB:
        return submit(argument);
    case USBDEVFS_DISCARDURB:
        return discard(argument);
    case USBDEVFS_CONTROL:
        return control_at_once(argument);
    case USBDEVFS_CONNECTINFO:
        return tell_connection(argument);
    case USBDEVFS_GET_CAPABILITIES: {
        const Data capabilities(resolve(argument, 0, sizeof(uint32_t)));
        update<uint32_t>(capabilities.get(), USBDEVFS_CAP_ZERO_PACKET | USBDEVFS_CAP_NO_PACKET_SIZE_LIM);
        return 0;
    }
    default:
        std::fprintf(stderr, "umockdevunit: the host asks for what it must not do (I/O control %#lx)\n", request);
        ++offence_count;
        return EBUSY;
    }
}

int UmockdevNode::submit(UMockdevIoctlData *argument)
{
    Urb urb = {Data(resolve(argument, 0, sizeof(usbdevfs_urb))), nullptr, false};
    const auto structure = structure_in<usbdevfs_urb>(*urb.data);
    if (structure.type != USBDEVFS_URB_TYPE_CONTROL || structure.buffer_length < static_cast<int>(setup_size))
        return EINVAL;
    urb.buffer.reset(
        resolve(urb.data.get(), offsetof(usbdevfs_urb, buffer), static_cast<size_t>(structure.buffer_length)));
    perform(&urb);
    m_urbs.push_back(std::move(urb));
    return 0;
}

/// Lets the device answer; a late answer leaves the transfer unfinished.
void UmockdevNode::perform(Urb *urb)
{
    const std::span<const uint8_t> buffer(urb->buffer->data, static_cast<size_t>(urb->buffer->data_len));
    const virtualusb::Setup setup = virtualusb::setup_from(buffer.first<setup_size>());
    const bool to_host = virtualusb::is_to_host(setup);
    const virtualusb::Reply reply =
        m_device->control(setup, to_host ? std::span<const uint8_t>() : buffer.subspan(setup_size));
    if (!reply.data.empty())
        update(urb->buffer.get(), setup_size, reply.data);
    auto structure = structure_in<usbdevfs_urb>(*urb->data);
    structure.status = status_of(reply.outcome);
    structure.actual_length = reply.outcome != virtualusb::Outcome::Done ? 0
        : to_host                                                        ? static_cast<int>(reply.data.size())
                                                                         : setup.length;
    update(urb->data.get(), structure);
    urb->finished = reply.outcome != virtualusb::Outcome::Late;
    if (reply.outcome == virtualusb::Outcome::Gone)
        m_gone();
}

int UmockdevNode::discard(UMockdevIoctlData *argument)
{
    const unsigned long address = pointer_in(*argument);
    const auto urb =
        std::find_if(m_urbs.begin(), m_urbs.end(), [&](const Urb &each) { return each.data->client_addr == address; });
    if (urb == m_urbs.end() || urb->finished)
        return EINVAL;
    urb->finished = true;
    return 0;
}

/// A control transfer in one call, without a request block; libusb asks for the configuration in this way.
int UmockdevNode::control_at_once(UMockdevIoctlData *argument)
{
    const Data data(resolve(argument, 0, sizeof(usbdevfs_ctrltransfer)));
    const auto transfer = structure_in<usbdevfs_ctrltransfer>(*data);
    const virtualusb::Setup setup = {transfer.bRequestType, transfer.bRequest, transfer.wValue, transfer.wIndex,
                                     transfer.wLength};
    if (!virtualusb::is_to_host(setup))
        return EINVAL;
    const virtualusb::Reply reply = m_device->control(setup, {});
    if (reply.outcome != virtualusb::Outcome::Done)
        return EPIPE;
    const Data buffer(resolve(data.get(), offsetof(usbdevfs_ctrltransfer, data), transfer.wLength));
    if (buffer && !reply.data.empty())
        update(buffer.get(), 0, reply.data);
    return 0;
}

int UmockdevNode::tell_connection(UMockdevIoctlData *argument) const
{
    const Data data(resolve(argument, 0, sizeof(usbdevfs_connectinfo)));
    update(data.get(), usbdevfs_connectinfo{m_address, not_slow});
    return 0;
}

void UmockdevNode::reap(UMockdevIoctlClient *client)
{
    const auto urb = std::find_if(m_urbs.begin(), m_urbs.end(), [](const Urb &each) { return each.finished; });
    if (urb != m_urbs.end()) {
        const Data pointer(resolve(umockdev_ioctl_client_get_arg(client), 0, sizeof(void *)));
        umockdev_ioctl_data_set_ptr(pointer.get(), 0, urb->data.get());
        m_urbs.erase(urb);
        complete(client, 0);
        return;
    }
    if (!m_is_plugged) {
        complete(client, ENODEV);
        return;
    }
    g_timeout_add_full(
        G_PRIORITY_DEFAULT, patience_ms,
        [](void *waiting) -> gboolean {
            complete(static_cast<UMockdevIoctlClient *>(waiting), EAGAIN);
            return G_SOURCE_REMOVE;
        },
        g_object_ref(client), g_object_unref);
}

void UmockdevNode::abandon_all()
{
    for (Urb &urb : m_urbs) {
        if (urb.finished)
            continue;
        auto structure = structure_in<usbdevfs_urb>(*urb.data);
        structure.status = -ESHUTDOWN;
        update(urb.data.get(), structure);
        urb.finished = true;
    }
}
