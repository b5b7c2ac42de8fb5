# SPDX-License-Identifier: MIT
# Completion of larkspur(1) for fish. Commands, options and values are those that --help lists.

function __larkspur_options
    set -l when -n "__fish_seen_subcommand_from $argv[1]"
    for line in (larkspur $argv[1] --help 2>/dev/null)
        string match -qr '^  (?:-(?<short>\w),)?--(?<long>[a-z-]+)(?:\[=(?<optional>[^]]+)\]| (?<value>\S+))?(?:  +(?<text>.*))?$' -- $line
        or continue
        set -l option -l $long -d "$text"
        test -n "$short"; and set -a option -s $short
        switch "$optional$value"
            case ''
                set -a option -f
            case '*|*'
                set -a option -x -a (string replace -a '|' ' ' -- "$optional$value")
            case FILE MAPFILE CACHE PATH
                set -a option -r -F
            case '*'
                set -a option -x
        end
        complete -c larkspur $when $option
    end
end

set -l commands (larkspur --help 2>/dev/null | string match -rg '^  ([a-z]+)  ')
for line in (larkspur --help 2>/dev/null)
    string match -qr '^  (?<name>[a-z]+)  +(?<text>.*)$' -- $line
    or continue
    complete -c larkspur -n "not __fish_seen_subcommand_from $commands" -f -a $name -d "$text"
    __larkspur_options $name
end
complete -c larkspur -n "not __fish_seen_subcommand_from $commands" -f -a help -d "Show how a command is used"
complete -c larkspur -n "not __fish_seen_subcommand_from $commands" -f -l help -d "Print this help"
complete -c larkspur -n "not __fish_seen_subcommand_from $commands" -f -l version -d "Print the version"
