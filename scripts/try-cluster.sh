#!/usr/bin/env bash
# Tries a case on a Slurm cluster of four virtual nodes on this machine, none of it as root: twelve sample Macs, one node
# killed in the middle of its task, the result compared with that of the same case without a cluster. Ends with a table.
# Takes everything down again. Exit 77, with the reason, where Slurm cannot be had. An argument names the preset to build.
set -euo pipefail

skip() { echo "try-cluster: skipped: $*" >&2; exit 77; }
fail() { echo "try-cluster: FAILED: $*" >&2; exit 1; }

# -- with all rights: packages, the program, a folder for an unprivileged user

prepare() {
    cd "$(dirname "$0")/.."
    local preset=${1:-release} as_root=()
    [ "$(uname -s)" = Linux ] || skip "the virtual nodes need Linux"
    local needed=(slurmctld slurmd sbatch munged)
    if ! command -v "${needed[@]}" >/dev/null || [ "$(command -v "${needed[@]}" | wc -l)" -lt ${#needed[@]} ]; then
        command -v apt-get >/dev/null || skip "no apt-get to install Slurm with"
        if [ "$(id -u)" -ne 0 ]; then
            sudo -n true 2>/dev/null || skip "Slurm is not installed, and this user may not install it"
            as_root=(sudo -n)
        fi
        { "${as_root[@]}" apt-get update -qq && "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq \
            --no-install-recommends slurmctld slurmd slurm-client munge slurm-wlm-basic-plugins; } >/dev/null 2>&1 ||
            skip "the packages of Slurm cannot be installed"
    fi
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" --target mail-extract apple_mail_extractor write-sample-source >/dev/null
    work=$(mktemp -d /tmp/try-cluster-XXXXXX)
    trap 'rm -rf "$work"' EXIT
    cmake --install "build/$preset" --prefix "$work/program" >/dev/null
    cp "build/$preset/bin/write-sample-source" "$work/program/bin/"
    cp "$0" "$work/try-cluster.sh"
    chmod 755 "$work"
    if [ "$(id -u)" -eq 0 ]; then
        chown -R nobody "$work"
        # A session of its own without the environment of this one.
        runuser -u nobody -- env -i PATH="$PATH" HOME="$work" LC_ALL=C.UTF-8 bash "$work/try-cluster.sh" --inside "$work"
    else
        env -i PATH="$PATH" HOME="$work" LC_ALL=C.UTF-8 bash "$work/try-cluster.sh" --inside "$work"
    fi
}

# -- without rights: the cluster

pid_in() { cat "$1" 2>/dev/null || true; }

end_process() {
    local pid
    pid=$(pid_in "$1")
    [ -n "$pid" ] && kill "$pid" 2>/dev/null || true
}

take_down() {
    local code=$?
    if [ "$code" -ne 0 ]; then
        tail -n 3 "$work"/log/*.log >&2 2>/dev/null || true
    fi
    squeue -h -o %A 2>/dev/null | xargs -r scancel 2>/dev/null || true
    for daemon in n1 n2 n3 n4; do end_process "$work/slurmd-$daemon.pid"; done
    end_process "$work/slurmctld.pid"
    end_process "$work/munged.pid"
    # The pid files go when the daemons have gone.
    for _ in $(seq 50); do
        ls "$work"/*.pid >/dev/null 2>&1 || break
        for file in "$work"/*.pid; do
            kill -0 "$(pid_in "$file")" 2>/dev/null || rm -f "$file"
        done
        sleep 0.2
    done
    chmod -R u+rwX "$work/sources" 2>/dev/null || true
}

start_cluster() {
    local port=$((20000 + $$ % 10000))
    mkdir -p "$work"/{state,log,spool/n1,spool/n2,spool/n3,spool/n4}
    cat >"$work/slurm.conf" <<CONF
ClusterName=try
SlurmctldHost=localhost(127.0.0.1)
SlurmUser=$(id -un)
SlurmdUser=$(id -un)
AuthType=auth/munge
AuthInfo=socket=$work/munge.socket
SlurmctldPort=$port
StateSaveLocation=$work/state
SlurmdSpoolDir=$work/spool/%n
SlurmctldPidFile=$work/slurmctld.pid
SlurmdPidFile=$work/slurmd-%n.pid
SlurmctldLogFile=$work/log/slurmctld.log
SlurmdLogFile=$work/log/slurmd-%n.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
MpiDefault=none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core_Memory
ReturnToService=2
SlurmdTimeout=10
KillWait=5
MinJobAge=3600
MaxArraySize=10
JobCompType=jobcomp/filetxt
JobCompLoc=$work/log/jobcomp.log
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
NodeName=n[1-4] NodeHostname=$(hostname) NodeAddr=127.0.0.1 Port=[$((port + 1))-$((port + 4))] CPUs=1 RealMemory=500
PartitionName=mail Nodes=n[1-4] Default=YES MaxTime=INFINITE State=UP
CONF
    export SLURM_CONF=$work/slurm.conf
    (umask 077 && head -c 1024 /dev/urandom >"$work/munge.key")
    munged --force --key-file="$work/munge.key" --socket="$work/munge.socket" --pid-file="$work/munged.pid" \
        --log-file="$work/log/munged.log" --seed-file="$work/munge.seed" || skip "munge does not start"
    slurmctld -f "$SLURM_CONF" || skip "slurmctld does not start"
    for node in n1 n2 n3 n4; do slurmd -N $node -f "$SLURM_CONF" || skip "slurmd does not start"; done
    for _ in $(seq 60); do
        [ "$(sinfo -h -N -t idle -o %N 2>/dev/null | wc -l)" -eq 4 ] && return
        sleep 0.5
    done
    skip "the nodes do not come up: $(sinfo -h -N 2>&1 | head -1)"
}

write_sources() {
    mkdir "$work/sources"
    for i in $(seq 12); do
        # The first one is large, so that its node can be killed in the middle of it.
        write-sample-source "$work/sources/mac$i" --seed "$i" --users 1 --messages $((i == 1 ? 500 : 5)) >/dev/null
    done
    rm -rf "$work/sources/mac11/Users"/*/Library/Mail
}

# One case is on the cluster, the other on this machine alone; both see the same.
make_case() {
    mail-extract case new "$1" --case-number "try" --lease-beat 1 >/dev/null
    for i in $(seq 12); do
        mail-extract case add "$1" "$work/sources/mac$i" --evidence-number "EV-$i" >/dev/null
    done
}

spoil_sources() {
    chmod 000 "$work/sources/mac10"
    mv "$work/sources/mac12" "$work/sources/unplugged"
}

state_of() { mail-extract case status "$1" --json 2>/dev/null | tr -d '\n ' | grep -o "\"index\":$2,.*" | grep -o '"state":"[a-z]*"' | head -1 | cut -d'"' -f4; }

field_of_lease() { sed -n "s/^ *\"$1\": *\"\{0,1\}\([^\",]*\).*/\1/p" "$2/lease" 2>/dev/null; }

kill_node_of_first() {
    local source=$1/results/0001-EV-1 task node parent copies
    for _ in $(seq 300); do
        copies=$(find "$source"/attempt-1-*/Artifacts_Result -name '*.emlx' 2>/dev/null | head -20 | wc -l || true)
        [ "$copies" -ge 20 ] && break
        sleep 0.1
    done
    [ "$copies" -ge 20 ] || fail "the first source did not begin"
    task=$(field_of_lease process "$source")
    node=$(field_of_lease node "$source")
    [ -n "$task" ] && [ -n "$node" ] || fail "the first source ended before its node could be killed"
    parent=$(ps -o ppid= -p "$task" | tr -d ' ')
    [[ "$(cat "/proc/$parent/comm")" == slurmstepd* ]] || fail "the task is not Slurm's"
    # The node's daemon first, so that nobody is left to tell of it; then its step, the task and the extraction.
    kill -9 "$(pid_in "$work/slurmd-$node.pid")" "$parent" "$task" $(ps -o pid= --ppid "$task")
    rm -f "$work/slurmd-$node.pid"
    lost_node=$node
}

wait_for_jobs() {
    local deadline=$((SECONDS + 240))
    while [ "$(squeue -h -o %A | wc -l)" -gt 0 ]; do
        [ $SECONDS -lt $deadline ] || fail "the jobs do not end: $(squeue -h | head -3)"
        # A requeued task waits two minutes, which is long for a trial.
        for job in $(squeue -h -r -t PD -o '%i %r' | awk '$2 == "BeginTime" { print $1 }'); do
            scontrol update JobId="$job" StartTime=now >/dev/null 2>&1 || true
        done
        sleep 1
    done
}

compare_cases() {
    local one=$1 other=$2 i differences=0
    for i in $(seq 12); do
        local name
        name=$(printf '%04d-EV-%d' "$i" "$i")
        [ "$(state_of "$one" "$i")" = "$(state_of "$other" "$i")" ] || { echo "source $i: $(state_of "$one" "$i") on the cluster, $(state_of "$other" "$i") without" >&2; differences=$((differences + 1)); }
        if [ -e "$other/results/$name/whole/mail-extract/SHA256SUMS" ]; then
            cmp "$one/results/$name/whole/mail-extract/SHA256SUMS" "$other/results/$name/whole/mail-extract/SHA256SUMS" || differences=$((differences + 1))
        fi
    done
    cmp "$one/collected/accounts.csv" "$other/collected/accounts.csv" || differences=$((differences + 1))
    return "$differences"
}

inside() {
    work=$1
    cd "$work"
    PATH=$work/program/bin:$PATH
    trap take_down EXIT
    start_cluster
    write_sources
    make_case "$work/cluster-case"
    make_case "$work/local-case"
    spoil_sources

    local begin=$SECONDS code=0
    mail-extract case submit "$work/cluster-case" --engine slurm --at-once 4 --go || fail "submit: exit code $?"
    kill_node_of_first "$work/cluster-case"
    sleep 5
    [ "$(state_of "$work/cluster-case" 1)" = partial ] || fail "the killed source is $(state_of "$work/cluster-case" 1), not partial"
    wait_for_jobs
    local cluster_seconds=$((SECONDS - begin))
    mail-extract case collect "$work/cluster-case" --quiet >/dev/null 2>&1 || code=$?
    [ "$code" -eq 3 ] || fail "collect: exit code $code, and 3 is due for the unreadable and the absent source"

    begin=$SECONDS
    mail-extract case run "$work/local-case" --jobs 2 --quiet >/dev/null || true
    local local_seconds=$((SECONDS - begin))
    mail-extract case collect "$work/local-case" --quiet >/dev/null 2>&1 || true
    compare_cases "$work/cluster-case" "$work/local-case" || fail "the cluster's case differs from the local one"

    mail-extract case status "$work/cluster-case" || true
    local attempts
    attempts=$(find "$work/cluster-case/results" -maxdepth 2 -name 'attempt-*' -type d | wc -l)
    printf '\n%-22s %8s %8s %8s  %s\n' case sources attempts seconds lost
    printf '%-22s %8s %8s %8s  %s\n' "Slurm, 4 nodes" 12 "$attempts" "$cluster_seconds" "nothing (node $lost_node killed)"
    printf '%-22s %8s %8s %8s  %s\n' "this machine, 2 jobs" 12 "$(find "$work/local-case/results" -maxdepth 2 -name 'attempt-*' -type d | wc -l)" "$local_seconds" nothing
}

if [ "${1:-}" = --inside ]; then
    inside "$2"
else
    prepare "$@"
fi
