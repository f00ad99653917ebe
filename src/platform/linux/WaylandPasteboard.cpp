#include "WaylandPasteboard.h"

#include "PipeTransfer.h"

#include "wlr-data-control-unstable-v1-client-protocol.h"

#include <QSocketNotifier>

#include <wayland-client.h>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

constexpr const char* managerName = "zwlr_data_control_manager_v1";

// How long a program reading our data may stall before we give up on it.
constexpr std::chrono::seconds writePatience{10};

// The names programs ask plain text by, Wayland's and X11's through Xwayland.
const QStringList textTypes{u"text/plain;charset=utf-8"_s, u"text/plain"_s, u"UTF8_STRING"_s,
                            u"STRING"_s, u"TEXT"_s};

} // namespace

WaylandPasteboard::WaylandPasteboard(QObject* parent)
    : QObject(parent) {
    if (!wayland.offers(managerName))
        return;
    seat = static_cast<wl_seat*>(wayland.bind(&wl_seat_interface, 1));
    manager = static_cast<zwlr_data_control_manager_v1*>(
        wayland.bind(&zwlr_data_control_manager_v1_interface, 1));
    if (!seat || !manager)
        return;
    static const zwlr_data_control_device_v1_listener listener{
        &WaylandPasteboard::onDataOffer, &WaylandPasteboard::onSelection,
        &WaylandPasteboard::onFinished, &WaylandPasteboard::onPrimarySelection};
    device = zwlr_data_control_manager_v1_get_data_device(manager, seat);
    zwlr_data_control_device_v1_add_listener(device, &listener, this);
    // The current selection arrives now; it is where the count starts.
    selecting = true;
    wayland.roundtrip();
    selecting = false;
    events = new QSocketNotifier(wayland.fileDescriptor(), QSocketNotifier::Read, this);
    connect(events, &QSocketNotifier::activated, this, &WaylandPasteboard::dispatch);
}

WaylandPasteboard::~WaylandPasteboard() {
    // Before the connection's descriptor closes with it.
    delete events;
    dropOffer(selection);
    if (source)
        zwlr_data_control_source_v1_destroy(source);
    if (device)
        zwlr_data_control_device_v1_destroy(device);
    if (manager)
        zwlr_data_control_manager_v1_destroy(manager);
    if (seat)
        wl_seat_destroy(seat);
    wayland.flush();
}

bool WaylandPasteboard::available() {
    return WaylandConnection().offers(managerName);
}

bool WaylandPasteboard::isOpen() const {
    return device && wayland.isOpen();
}

void WaylandPasteboard::dispatch() {
    if (!wayland.dispatchWaiting() && events)
        // A broken connection stays readable; watching it would spin.
        events->setEnabled(false);
}

void WaylandPasteboard::dropOffer(Offer*& offer) {
    if (!offer)
        return;
    zwlr_data_control_offer_v1_destroy(offer->proxy);
    delete offer;
    offer = nullptr;
}

void WaylandPasteboard::onDataOffer(void*, zwlr_data_control_device_v1*,
                                    zwlr_data_control_offer_v1* proxy) {
    static const zwlr_data_control_offer_v1_listener listener{&WaylandPasteboard::onOfferType};
    // The offer lives until a selection event names another one.
    auto* offer = new Offer{proxy, {}};
    zwlr_data_control_offer_v1_add_listener(proxy, &listener, offer);
}

void WaylandPasteboard::onOfferType(void* data, zwlr_data_control_offer_v1*, const char* type) {
    auto* offer = static_cast<Offer*>(data);
    const QString name = QString::fromUtf8(type);
    if (!offer->types.contains(name))
        offer->types.append(name);
}

void WaylandPasteboard::onSelection(void* data, zwlr_data_control_device_v1*,
                                    zwlr_data_control_offer_v1* proxy) {
    auto* self = static_cast<WaylandPasteboard*>(data);
    self->dropOffer(self->selection);
    if (proxy)
        self->selection = static_cast<Offer*>(zwlr_data_control_offer_v1_get_user_data(proxy));
    if (!self->selecting)
        self->othersChanged = true;
}

void WaylandPasteboard::onFinished(void* data, zwlr_data_control_device_v1*) {
    // The seat went away: nothing more can be read or served.
    auto* self = static_cast<WaylandPasteboard*>(data);
    self->dropOffer(self->selection);
    zwlr_data_control_device_v1_destroy(self->device);
    self->device = nullptr;
}

void WaylandPasteboard::onPrimarySelection(void* data, zwlr_data_control_device_v1*,
                                           zwlr_data_control_offer_v1* proxy) {
    // Not bound at a version that sends it; an offer announced for it is not ours to keep.
    Q_UNUSED(data);
    if (proxy) {
        delete static_cast<Offer*>(zwlr_data_control_offer_v1_get_user_data(proxy));
        zwlr_data_control_offer_v1_destroy(proxy);
    }
}

void WaylandPasteboard::onSend(void* data, zwlr_data_control_source_v1* proxy, const char* type,
                               std::int32_t fd) {
    auto* self = static_cast<WaylandPasteboard*>(data);
    const QString name = QString::fromUtf8(type);
    if (proxy == self->source)
        for (const auto& [offered, bytes] : std::as_const(self->served))
            if (offered == name) {
                PipeWriter::start(fd, bytes, writePatience, self);
                return;
            }
    close(fd);
}

void WaylandPasteboard::onCancelled(void* data, zwlr_data_control_source_v1* proxy) {
    auto* self = static_cast<WaylandPasteboard*>(data);
    if (proxy == self->source) {
        self->source = nullptr;
        self->served.clear();
        // Replaced by another program while the compositor handled our change:
        // its selection event was taken for ours.
        if (self->selecting)
            self->othersChanged = true;
    }
    zwlr_data_control_source_v1_destroy(proxy);
}

void WaylandPasteboard::select(const PasteboardItem* item) {
    zwlr_data_control_source_v1* next = nullptr;
    if (item) {
        static const zwlr_data_control_source_v1_listener listener{&WaylandPasteboard::onSend,
                                                                   &WaylandPasteboard::onCancelled};
        next = zwlr_data_control_manager_v1_create_data_source(manager);
        zwlr_data_control_source_v1_add_listener(next, &listener, this);
        for (const auto& [type, bytes] : *item)
            zwlr_data_control_source_v1_offer(next, type.toUtf8().constData());
    }
    // The old source is cancelled by the compositor and destroyed then; the
    // other program's offer is no longer the selection, whether or not the
    // compositor tells us of our own.
    dropOffer(selection);
    source = next;
    served = item ? *item : PasteboardItem{};
    written = served;
    zwlr_data_control_device_v1_set_selection(device, next);
    // Another program's change before ours counts, whatever it was.
    changes += othersChanged ? 2 : 1;
    othersChanged = false;
    selecting = true;
    wayland.roundtrip();
    selecting = false;
}

std::optional<QByteArray> WaylandPasteboard::read(const QString& type) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return std::nullopt;
    zwlr_data_control_offer_v1_receive(selection->proxy, type.toUtf8().constData(), ends[1]);
    close(ends[1]);
    wayland.flush();
    return readPipeUntilClosed(ends[0], std::chrono::steady_clock::now() + readPatience);
}

QList<PasteboardItem> WaylandPasteboard::items() {
    QUENDRA_CHECK_THREAD(checker);
    if (!isOpen() || !wayland.roundtrip())
        return {};
    if (source)
        return served.isEmpty() ? QList<PasteboardItem>{} : QList<PasteboardItem>{served};
    if (!selection)
        return {};
    PasteboardItem item;
    const QStringList types = selection->types;
    for (const QString& type : types) {
        const auto bytes = read(type);
        // A program that does not answer holds nothing we can restore later.
        if (!bytes)
            return {};
        item.append({type, *bytes});
    }
    if (item.isEmpty())
        return {};
    return {item};
}

void WaylandPasteboard::countOthersChange() {
    if (!othersChanged)
        return;
    othersChanged = false;
    // Our own data served again by a clipboard manager is still what we wrote.
    if (!written.isEmpty() && selection && selection->types.contains(written.first().first)) {
        const auto bytes = read(written.first().first);
        if (bytes && *bytes == written.first().second)
            return;
    }
    written.clear();
    ++changes;
}

int WaylandPasteboard::changeCount() {
    QUENDRA_CHECK_THREAD(checker);
    // Another program's change the compositor already made is counted now.
    if (isOpen() && wayland.roundtrip())
        countOthersChange();
    return changes;
}

void WaylandPasteboard::clearContents() {
    QUENDRA_CHECK_THREAD(checker);
    if (!isOpen() || !wayland.roundtrip())
        return;
    if (!source && !selection)
        return;
    select(nullptr);
}

void WaylandPasteboard::setString(const QString& text) {
    QUENDRA_CHECK_THREAD(checker);
    if (!isOpen())
        return;
    const QByteArray utf8 = text.toUtf8();
    PasteboardItem item;
    for (const QString& type : textTypes)
        item.append({type, utf8});
    select(&item);
}

void WaylandPasteboard::writeItems(const QList<PasteboardItem>& items) {
    QUENDRA_CHECK_THREAD(checker);
    // One clipboard holds one item; further items have nowhere to go.
    if (!isOpen() || items.isEmpty() || items.first().isEmpty())
        return;
    select(&items.first());
}

} // namespace quendra
