# Completion of kdmxctl(1) for fish.

set -l commands info rate power-save fader mute stereo route routes debug raw set-u8 set-u32 query command-a2 firmware monitor
set -l channels line-out master-out computer-out analog-in direct-monitor
set -l none "not __fish_seen_subcommand_from $commands"

complete -c kdmxctl -f
complete -c kdmxctl -n $none -a info -d 'Show product and firmware version'
complete -c kdmxctl -n $none -a rate -d 'Show the sample rate'
complete -c kdmxctl -n $none -a power-save -d 'Show or switch auto power save'
complete -c kdmxctl -n $none -a fader -d 'Show or set a channel\'s level'
complete -c kdmxctl -n $none -a mute -d 'Show or switch a channel\'s mute'
complete -c kdmxctl -n $none -a stereo -d 'Show or set a channel\'s stereo mode'
complete -c kdmxctl -n $none -a route -d 'Route a channel to another'
complete -c kdmxctl -n $none -a routes -d 'List the routes'
complete -c kdmxctl -n $none -a debug -d 'Show the firmware\'s debug text'
complete -c kdmxctl -n $none -a raw -d 'Send a message, show the answer'
complete -c kdmxctl -n $none -a set-u8 -d 'Send the one-byte setting'
complete -c kdmxctl -n $none -a set-u32 -d 'Send the 32-bit setting'
complete -c kdmxctl -n $none -a query -d 'Send the 32-bit query, show its answer'
complete -c kdmxctl -n $none -a command-a2 -d 'Send the command 0xA2'
complete -c kdmxctl -n $none -a firmware -d 'Move an image into the unit'
complete -c kdmxctl -n $none -a monitor -d 'Show the unit live'

complete -c kdmxctl -n '__fish_seen_subcommand_from power-save mute' -a 'on off'
complete -c kdmxctl -n '__fish_seen_subcommand_from fader mute stereo' -a 'get set'
complete -c kdmxctl -n '__fish_seen_subcommand_from fader mute stereo route' -a "$channels"
complete -c kdmxctl -n '__fish_seen_subcommand_from stereo' -a 'mono stereo'
complete -c kdmxctl -n '__fish_seen_subcommand_from firmware' -F
complete -c kdmxctl -n '__fish_seen_subcommand_from firmware' -s y -l yes -d 'Do not ask'
complete -c kdmxctl -n '__fish_seen_subcommand_from raw' -s n -l blocks -x -d 'Blocks to read'

complete -c kdmxctl -l json -d 'Write one JSON object'
complete -c kdmxctl -l verify -d 'Read back what was set'
complete -c kdmxctl -l timeout -x -d 'Seconds until the command ends'
complete -c kdmxctl -l log -rF -d 'File for the lines of the device link'
complete -c kdmxctl -l trace -d 'Write every transfer'
complete -c kdmxctl -l replay -rF -d 'Trace to play instead of a unit'
complete -c kdmxctl -l virtual -d 'Use a virtual unit'
complete -c kdmxctl -s h -l help -d 'Show help'
complete -c kdmxctl -l version -d 'Show the version'
