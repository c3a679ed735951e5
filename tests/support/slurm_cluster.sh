#!/usr/bin/env bash
# A throw-away scheduler controller on loopback, for tests: a munge daemon
# with its own key and socket and a slurmctld with a generated slurm.conf
# of NODES nodes (cn01, cn02, ...) whose NodeAddr are loopback addresses;
# no slurmd runs, so the nodes only hold the states and reasons that the
# test sets with scontrol. Everything lives in one temporary folder and
# both daemons are stopped by their own process ids.
#
# Source it, then:
#   slurm_cluster_start DIR NODES   # exports SLURM_CONF; returns 1 when it
#                                   # could not start (the log says why)
#   slurm_cluster_stop              # kill pid, wait: safe to call twice,
#                                   # meant for an EXIT trap
#   slurm_cluster_missing           # prints the missing programs, if any

slurm_cluster_missing() {
  local missing=() p
  for p in munged slurmctld scontrol sinfo; do
    command -v "$p" >/dev/null 2>&1 || [[ -x /usr/sbin/$p ]] || missing+=("$p")
  done
  echo "${missing[*]}"
}

_slurm_free_port() {
  python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1]); s.close()'
}

_slurm_program() {
  command -v "$1" 2>/dev/null || echo "/usr/sbin/$1"
}

SLURM_CLUSTER_PIDS=()

slurm_cluster_start() {
  local dir=$1 nodes=$2 i
  mkdir -p "$dir/state" "$dir/spool" || return 1
  chmod 700 "$dir"
  head -c 1024 /dev/urandom > "$dir/munge.key"
  chmod 400 "$dir/munge.key"
  local force=()
  [[ $(id -u) -eq 0 ]] && force=(--force)
  "$(_slurm_program munged)" "${force[@]}" --foreground \
    --socket="$dir/munge.sock" --key-file="$dir/munge.key" \
    --pid-file="$dir/munged.pid" --log-file="$dir/munged.log" \
    --seed-file="$dir/munged.seed" >"$dir/munged.out" 2>&1 &
  SLURM_CLUSTER_PIDS+=($!)
  for i in $(seq 50); do [[ -S $dir/munge.sock ]] && break; sleep 0.1; done
  [[ -S $dir/munge.sock ]] || { echo "munged did not start" >&2; cat "$dir/munged.out" >&2; return 1; }

  local port slurmd_port user
  port=$(_slurm_free_port)
  slurmd_port=$(_slurm_free_port)
  user=$(id -un)
  {
    echo "ClusterName=vesktest"
    echo "SlurmctldHost=localhost(127.0.0.1)"
    echo "SlurmctldPort=$port"
    echo "SlurmdPort=$slurmd_port"
    echo "SlurmUser=$user"
    echo "AuthType=auth/munge"
    echo "AuthInfo=socket=$dir/munge.sock"
    echo "CredType=cred/munge"
    echo "StateSaveLocation=$dir/state"
    echo "SlurmdSpoolDir=$dir/spool"
    echo "SlurmctldPidFile=$dir/slurmctld.pid"
    echo "SlurmctldLogFile=$dir/slurmctld.log"
    echo "ProctrackType=proctrack/linuxproc"
    echo "TaskPlugin=task/none"
    echo "SchedulerType=sched/builtin"
    echo "SelectType=select/linear"
    echo "MpiDefault=none"
    echo "ReturnToService=0"
    echo "SlurmdTimeout=3600"
    echo "JobCompType=jobcomp/none"
    echo "MailProg=/bin/true"
    for i in $(seq "$nodes"); do
      printf 'NodeName=cn%02d NodeAddr=127.0.1.%d CPUs=1 State=UNKNOWN\n' "$i" "$i"
    done
    echo "PartitionName=batch Nodes=ALL Default=YES State=UP"
  } > "$dir/slurm.conf"
  export SLURM_CONF=$dir/slurm.conf
  "$(_slurm_program slurmctld)" -D -i -f "$dir/slurm.conf" >"$dir/slurmctld.out" 2>&1 &
  SLURM_CLUSTER_PIDS+=($!)
  for i in $(seq 100); do
    scontrol ping 2>/dev/null | grep -q 'is UP' && return 0
    kill -0 "${SLURM_CLUSTER_PIDS[-1]}" 2>/dev/null || break
    sleep 0.2
  done
  echo "slurmctld did not start" >&2
  cat "$dir/slurmctld.out" "$dir/slurmctld.log" >&2 2>/dev/null
  return 1
}

slurm_cluster_stop() {
  local pid
  for pid in "${SLURM_CLUSTER_PIDS[@]}"; do
    kill "$pid" 2>/dev/null && wait "$pid" 2>/dev/null
  done
  SLURM_CLUSTER_PIDS=()
}
