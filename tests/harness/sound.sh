# Sourced by the audio tests: a private PulseAudio with a null "speaker" as the
# default output (its monitor is the computer's audio) and a virtual
# microphone as the default input, fed by whatever plays into "micfeed".
# Usage: source sound.sh; sound_start (or sound_server after harness_home and
#        harness_bus); sound_play_mic FILE; sound_play_speaker FILE
#        sound_unplug_mic; sound_kill_server

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

sound_server_pid=""
sound_mic_module=""

sound_start() {
    harness_home
    harness_bus
    sound_server
}

# The server alone, for a harness that already has its home and bus.
sound_server() {
    export PULSE_RUNTIME_PATH="$XDG_RUNTIME_DIR/pulse"
    export PULSE_STATE_PATH="$harness_dir/pulse-state"
    export PULSE_SERVER="unix:$PULSE_RUNTIME_PATH/native"
    unset PULSE_SINK PULSE_SOURCE
    mkdir -p "$PULSE_RUNTIME_PATH" "$PULSE_STATE_PATH"
    cat >"$harness_dir/server.pa" <<PA
load-module module-native-protocol-unix socket=$PULSE_RUNTIME_PATH/native auth-anonymous=1
PA
    # Only our own modules: no devices, no session integration.
    harness_spawn pulseaudio pulseaudio -n -F "$harness_dir/server.pa" --daemonize=no \
        --realtime=no --high-priority=no --exit-idle-time=-1 --disallow-exit \
        --use-pid-file=no --log-target=stderr
    sound_server_pid="${harness_pids[-1]}"
    export SOUND_SERVER_PID="$sound_server_pid"
    harness_wait 10 pactl info || { cat "$harness_dir/pulseaudio.log" >&2; return 1; }

    pactl load-module module-null-sink sink_name=speaker rate=48000 channels=2 \
        sink_properties=device.description=Speaker >/dev/null
    pactl set-default-sink speaker
    # The microphone chain stays mono at 16 kHz end to end.
    pactl load-module module-null-sink sink_name=micfeed rate=16000 channels=1 \
        channel_map=mono sink_properties=device.description=Mic-feed >/dev/null
    sound_mic_module="$(pactl load-module module-remap-source master=micfeed.monitor \
        source_name=mic channels=1 channel_map=mono master_channel_map=mono \
        source_properties=device.description=Virtual-microphone)"
    export SOUND_MIC_MODULE="$sound_mic_module"
    pactl set-default-source mic

    # Idle null sinks render in blocks of seconds, so a new recorder's first
    # data could come 2 s late: a reader on each monitor keeps them rendering
    # in small steps. Its 50 ms match the recorders' own fragments; a shorter
    # latency would wake every recorder more often than a real device does.
    harness_spawn speaker-reader parec --latency-msec=50 -d speaker.monitor --raw
    harness_spawn micfeed-reader parec --latency-msec=50 -d micfeed.monitor --raw
    harness_spawn mic-reader parec --latency-msec=50 -d mic --raw
    harness_wait 5 sh -c '[ "$(pactl list short source-outputs | wc -l)" -ge 4 ]'
    # A render block begun before the readers came may still run for 2 s.
    sleep 2.1
}

sound_play_mic() { paplay -d micfeed "$@"; }
sound_play_speaker() { paplay -d speaker "$@"; }
sound_unplug_mic() { pactl unload-module "$sound_mic_module"; }
sound_kill_server() { kill -9 "$sound_server_pid"; }
