#!/bin/sh
# How many jobs slurmd runs on a node (it differs everywhere), and the
# checksum of its configuration; cn05's slurmd is down.
n=$(echo "$1" | tr -dc 0-9 | sed 's/^0*//')
if [ "$1" = cn05 ]; then echo "slurmd inactive"; else echo "slurmd active, $((n % 7 + 1)) jobs"; fi
echo "slurm.conf 5d41402abc4b2a76b9719d911017c592"
