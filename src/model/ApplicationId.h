#pragma once

// The one name of the application on the desktop: its D-Bus service, desktop
// file, metadata and the root of its logging categories. A macro, so that it
// joins string literals at compile time ("com.orvane.Parlevo.notes").
#define QUENDRA_APPLICATION_ID "com.orvane.Parlevo"
