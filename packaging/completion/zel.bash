# Completion of zel for bash. The part between the marks is made from the lists of the program.

_zel() {
    local word=${COMP_WORDS[COMP_CWORD]} before="" command="" options="" valued="" formats="" value
    [ "$COMP_CWORD" -lt 1 ] || before=${COMP_WORDS[COMP_CWORD - 1]}
    [ "$COMP_CWORD" -lt 2 ] || command=${COMP_WORDS[1]}
    COMPREPLY=()
    # begin of what is generated
    local commands="show list hardware serve check"
    local areas="cpu load pressure memory vm interrupts disks filesystems interfaces protocols processes cgroups sensors fibrechannel gpus nfs time limits identity"
    local parts="machine processors memory pci network disks nvme fibrechannel gpus"
    case $command in
    show)
        options="--help --every --count --format --rates --raw --all --wide --root --deadline --config"
        valued=" --every=TIME --count=N --format=FORMAT --root=DIR --deadline=TIME --config=FILE "
        formats="table json csv openmetrics prometheus line"
        ;;
    list)
        options="--help --format --rates --absent --wide --root --deadline --config"
        valued=" --format=FORMAT --root=DIR --deadline=TIME --config=FILE "
        formats="table json csv"
        ;;
    hardware)
        options="--help --format --serials --since --all --wide --root --deadline --config"
        valued=" --format=FORMAT --since=FILE --root=DIR --deadline=TIME --config=FILE "
        formats="table json"
        ;;
    serve)
        options="--help --listen --listen-unprotected --server-names --token-file --certificate --key --areas --command-lines --sample-age --deadline --root --connections --connections-per-address --streams --request-bytes --request-time --answer-time --idle-time --stream-least --stream-heartbeat --metrics-sections --metrics-processes --metrics-without-systemd --metrics-textfile-directory --metrics-textfile-bytes --metrics-textfiles --config"
        valued=" --listen=ADDRESS,... --server-names=NAME,... --token-file=FILE --certificate=FILE --key=FILE --areas=AREA,... --sample-age=TIME --deadline=TIME --root=DIR --connections=N --connections-per-address=N --streams=N --request-bytes=N --request-time=TIME --answer-time=TIME --idle-time=TIME --stream-least=TIME --stream-heartbeat=TIME --metrics-sections=SECTION,... --metrics-processes=N --metrics-textfile-directory=DIR --metrics-textfile-bytes=N --metrics-textfiles=N --config=FILE "
        ;;
    check)
        options="--help"
        valued=" "
        ;;
    esac
    # end of what is generated
    if [ -z "$command" ]; then
        mapfile -t COMPREPLY < <(compgen -W "$commands --help --version" -- "$word")
        return
    fi
    # What the option before takes.
    value=${valued#* "$before"=}
    if [ "$value" != "$valued" ]; then
        case ${value%% *} in
        FILE) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
        DIR) mapfile -t COMPREPLY < <(compgen -d -- "$word") ;;
        FORMAT) mapfile -t COMPREPLY < <(compgen -W "$formats" -- "$word") ;;
        AREA,...) mapfile -t COMPREPLY < <(compgen -W "$areas" -- "$word") ;;
        esac
        return
    fi
    case $word in
    -*) mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word") ;;
    *)
        case $command in
        show | list) mapfile -t COMPREPLY < <(compgen -W "$areas" -- "$word") ;;
        hardware) mapfile -t COMPREPLY < <(compgen -W "$parts" -- "$word") ;;
        check) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
        esac
        ;;
    esac
}

complete -o filenames -F _zel zel
