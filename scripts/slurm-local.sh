#!/usr/bin/env bash
# A one-node Slurm on this machine, for the farm tests and for trying `fxhost farm` by hand.
#   eval "$(bash scripts/slurm-local.sh start [DIR])"   starts munged, slurmctld and slurmd with
#                                                      everything under DIR (default: a new temporary
#                                                      folder) and prints `export SLURM_CONF=...`
#   bash scripts/slurm-local.sh stop DIR               stops the three daemons by their pids, removes DIR
# Its own munge socket and free ports keep it apart from any other Slurm on the machine; it talks
# over the loopback only. Needs root (slurmd starts jobs as their users) and the Debian packages
# slurm-wlm and munge; without them it says why and exits with 77, which ctest's farm fixture
# (Tests/CMakeLists.txt) reports as skipped. stop also exits with 77 where nothing was started.
set -euo pipefail

command="${1:-}"
dir="${2:-}"

free_port() {
  local port
  for _ in $(seq 50); do
    port=$((20000 + RANDOM % 20000))
    if ! ss -Hltn "sport = :$port" | grep -q .; then
      echo "$port"
      return
    fi
  done
  echo "slurm-local: no free port found" >&2
  exit 1
}

stop() {
  for daemon in slurmd slurmctld munged; do
    if [ -s "$dir/$daemon.pid" ]; then
      kill "$(cat "$dir/$daemon.pid")" 2>/dev/null || true
    fi
  done
  # slurmd's job steps end with it; give the daemons a moment to leave before their folder goes.
  for _ in $(seq 50); do
    alive=0
    for daemon in slurmd slurmctld munged; do
      if [ -s "$dir/$daemon.pid" ] && kill -0 "$(cat "$dir/$daemon.pid")" 2>/dev/null; then alive=1; fi
    done
    [ "$alive" = 0 ] && break
    sleep 0.1
  done
}

case "$command" in
  start)
    if [ "$(id -u)" != 0 ]; then
      echo "slurm-local: Slurm cannot be started here: slurmd needs root (run as root or with sudo)" >&2
      exit 77
    fi
    for program in munged slurmctld slurmd sinfo; do
      if ! command -v "$program" >/dev/null; then
        echo "slurm-local: Slurm cannot be started here: no $program (install slurm-wlm and munge; scripts/setup-tests.sh does)" >&2
        exit 77
      fi
    done
    [ -n "$dir" ] || dir="$(mktemp -d /tmp/slurm-local.XXXXXX)"
    # A folder a killed run left behind is stopped and started afresh.
    if [ -f "$dir/slurm.conf" ]; then stop; rm -rf "$dir"; fi
    mkdir -p "$dir"
    dir="$(cd "$dir" && pwd)"
    chmod 700 "$dir"
    mkdir -p "$dir/state" "$dir/spool" "$dir/munge"
    chmod 700 "$dir/munge"
    host="$(hostname -s)"
    cpus="$(nproc)"
    # Leave a quarter of the memory to everything else; jobs may ask for --mem up to the rest.
    memory=$(($(awk '/MemTotal/ {print $2}' /proc/meminfo) / 1024 * 3 / 4))
    socket="$dir/munge/munge.socket"

    dd if=/dev/urandom of="$dir/munge/munge.key" bs=1024 count=1 status=none
    chmod 400 "$dir/munge/munge.key"
    munged --force --socket="$socket" --key-file="$dir/munge/munge.key" \
      --pid-file="$dir/munged.pid" --log-file="$dir/munged.log" --seed-file="$dir/munge/seed"

    cat >"$dir/slurm.conf" <<EOF
ClusterName=local
SlurmctldHost=$host(127.0.0.1)
SlurmctldPort=$(free_port)
SlurmdPort=$(free_port)
SlurmUser=root
AuthType=auth/munge
AuthInfo=socket=$socket
CredType=cred/munge
StateSaveLocation=$dir/state
SlurmdSpoolDir=$dir/spool/%n
SlurmctldPidFile=$dir/slurmctld.pid
SlurmdPidFile=$dir/slurmd.pid
SlurmctldLogFile=$dir/slurmctld.log
SlurmdLogFile=$dir/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
JobCompType=jobcomp/none
MpiDefault=none
ReturnToService=2
SchedulerType=sched/backfill
SchedulerParameters=sched_interval=1
NodeName=$host NodeAddr=127.0.0.1 CPUs=$cpus RealMemory=$memory State=UNKNOWN
PartitionName=local Nodes=$host Default=YES MaxTime=INFINITE State=UP
EOF
    export SLURM_CONF="$dir/slurm.conf"
    slurmctld -f "$SLURM_CONF"
    slurmd -f "$SLURM_CONF"
    for _ in $(seq 150); do
      if sinfo -h -o %T 2>/dev/null | grep -qx idle; then
        echo "export SLURM_CONF=$SLURM_CONF"
        echo "slurm-local: one node ($host, $cpus CPUs) idle; stop with: bash $0 stop $dir" >&2
        exit 0
      fi
      sleep 0.2
    done
    echo "slurm-local: the node did not come up; logs in $dir" >&2
    tail -n 20 "$dir"/*.log >&2 || true
    stop
    exit 1
    ;;
  stop)
    [ -n "$dir" ] || {
      echo "usage: $0 stop DIR (the folder start used)" >&2
      exit 2
    }
    [ -f "$dir/slurm.conf" ] || {
      echo "slurm-local: no Slurm was started in $dir; nothing to stop" >&2
      exit 77
    }
    stop
    rm -rf "$dir"
    ;;
  *)
    echo "usage: $0 start [DIR] | stop DIR" >&2
    exit 2
    ;;
esac
