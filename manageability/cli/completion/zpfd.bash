# SPDX-License-Identifier: Apache-2.0
#
# Completion of zpfd's command line for bash.
_zpfd() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
  COMPREPLY=()
  case "$previous" in
  --store|--plugin-dir|--yang-dir|--protocol-yang-dir)
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -d -- "$current")
    return ;;
  --seed|--tls-ca|--tls-certificate|--tls-key|--trace-file)
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
    return ;;
  --device) mapfile -t COMPREPLY < <(compgen -W 'sim' -- "$current"); return ;;
  --sync) mapfile -t COMPREPLY < <(compgen -W 'full relaxed' -- "$current"); return ;;
  --log) mapfile -t COMPREPLY < <(compgen -W 'error info debug' -- "$current"); return ;;
  --mapping-log) mapfile -t COMPREPLY < <(compgen -W 'off error trace' -- "$current"); return ;;
  --listen|--authorized-keys|--tls-user|--slew|--threads|--max-sessions|--max-message|--max-unsent|--hello-time|--message-time|--unsent-time)
    return ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W '-h --help --version --store --listen --seed --authorized-keys --tls-user --tls-ca
    --tls-certificate --tls-key --plugin-dir --yang-dir --protocol-yang-dir --device --slew --sync --log --mapping-log
    --trace-file --trace --threads --no-kept-answers --max-sessions --max-message --max-unsent --hello-time
    --message-time --unsent-time' -- "$current")
}
complete -F _zpfd zpfd
