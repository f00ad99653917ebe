import QtQuick
import QtQuick.Controls

// A button that a screen reader can press as well as a pointer or a key.
Button {
    Accessible.onPressAction: clicked()
}
