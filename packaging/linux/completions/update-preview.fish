# Completion of update-preview(1) for fish.

complete -c update-preview -f
complete -c update-preview -l feed -rF -d 'Document to run the service on'
complete -c update-preview -l lang -x -a 'en fr es de it ja zh' -d 'Language of the user'
complete -c update-preview -l unit -x -a 'KD-MX2 KD-MX4' -d 'Connected unit'
complete -c update-preview -l firmware -x -d 'Version of its firmware'
complete -c update-preview -l gallery -x -a '(__fish_complete_directories)' -d 'Draw every window into this folder'
complete -c update-preview -l check -rF -d 'Document to judge'
complete -c update-preview -l strict -d 'Take warnings for errors'
complete -c update-preview -l scale -x -a '1 1.5 2 3' -d 'How large everything is drawn'
complete -c update-preview -s h -l help -d 'Show help'
complete -c update-preview -l version -d 'Show the version'
