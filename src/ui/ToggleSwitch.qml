import QtQuick
import QtQuick.Controls

// A switch that a screen reader can flip as well as a pointer or a key.
Switch {
    function flip() {
        toggle()
        toggled()
    }
    Accessible.onToggleAction: flip()
    Accessible.onPressAction: flip()
}
