import QtQuick
import QtQuick.Controls

// A check box that a screen reader can flip as well as a pointer or a key.
CheckBox {
    function flip() {
        toggle()
        toggled()
    }
    Accessible.onToggleAction: flip()
    Accessible.onPressAction: flip()
}
