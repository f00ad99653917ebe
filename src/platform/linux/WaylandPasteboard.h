#pragma once

#include "WaylandConnection.h"
#include "model/MainThreadChecker.h"
#include "platform/Pasteboard.h"

#include <QObject>
#include <QStringList>

#include <chrono>
#include <optional>

class QSocketNotifier;
struct wl_seat;
struct zwlr_data_control_manager_v1;
struct zwlr_data_control_device_v1;
struct zwlr_data_control_source_v1;
struct zwlr_data_control_offer_v1;

namespace quendra {

// The clipboard through the data-control protocol (wlroots compositors and
// KWin), which needs no keyboard focus, unlike Qt's clipboard on Wayland.
// Data we put there is served by this object from the event loop, so one
// object serves the whole process. Another program serving exactly what we
// wrote last (a clipboard manager keeping it) does not count as a change.
class WaylandPasteboard : public QObject, public Pasteboard {
    Q_OBJECT
public:
    // How long one read of another program's data may take before that
    // program counts as not answering and the clipboard as empty.
    static constexpr std::chrono::milliseconds readPatience{500};

    explicit WaylandPasteboard(QObject* parent = nullptr);
    ~WaylandPasteboard() override;

    // Whether the compositor of $WAYLAND_DISPLAY offers data control.
    static bool available();

    QList<PasteboardItem> items() override;
    int changeCount() override;
    void clearContents() override;
    void setString(const QString& text) override;
    void writeItems(const QList<PasteboardItem>& items) override;

private:
    struct Offer {
        zwlr_data_control_offer_v1* proxy;
        QStringList types;
    };

    bool isOpen() const;
    void dispatch();
    // The other program's data of one type; none when it does not answer in time.
    std::optional<QByteArray> read(const QString& type);
    void countOthersChange();
    // The selection set to `item` (none clears it), waiting for the compositor.
    void select(const PasteboardItem* item);
    void dropOffer(Offer*& offer);

    static void onDataOffer(void*, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1*);
    static void onSelection(void*, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1*);
    static void onFinished(void*, zwlr_data_control_device_v1*);
    static void onPrimarySelection(void*, zwlr_data_control_device_v1*,
                                   zwlr_data_control_offer_v1*);
    static void onOfferType(void*, zwlr_data_control_offer_v1*, const char*);
    static void onSend(void*, zwlr_data_control_source_v1*, const char*, std::int32_t);
    static void onCancelled(void*, zwlr_data_control_source_v1*);

    MainThreadChecker checker;
    WaylandConnection wayland;
    QSocketNotifier* events = nullptr;
    wl_seat* seat = nullptr;
    zwlr_data_control_manager_v1* manager = nullptr;
    zwlr_data_control_device_v1* device = nullptr;

    // The other program's selection, when it is not ours.
    Offer* selection = nullptr;
    // Our selection and what it serves, while no one replaced it.
    zwlr_data_control_source_v1* source = nullptr;
    PasteboardItem served;

    int changes = 0;
    // Set while the compositor handles our own change: the selection events
    // then announce our change, not another program's.
    bool selecting = false;
    // Another program took the selection since the count was last read.
    bool othersChanged = false;
    // What we wrote last, until another program puts something else there.
    PasteboardItem written;
};

} // namespace quendra
