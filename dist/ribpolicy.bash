# Bash completion for ribpolicy: commands, their options, the values of --format, --trace,
# --engine, --frr-apply and --against, and scenario files (*.yaml, *.yml) for FILE.

_ribpolicy() {
  local cur=${COMP_WORDS[COMP_CWORD]}
  local prev=${COMP_WORDS[COMP_CWORD - 1]}
  local cmd="" i
  for ((i = 1; i < COMP_CWORD; i++)); do
    case ${COMP_WORDS[i]} in
      run | state | verify | check | graph | frr | diff | tags | test) cmd=${COMP_WORDS[i]} && break ;;
    esac
  done
  COMPREPLY=()
  case $prev in
    --format)
      mapfile -t COMPREPLY < <(compgen -W "text json" -- "$cur")
      return 0
      ;;
    --step | --frr-pathspace | --frr-timeout | --map) return 0 ;;
    --against)
      mapfile -t COMPREPLY < <(compgen -W "fresh" -- "$cur")
      return 0
      ;;
    --engine)
      mapfile -t COMPREPLY < <(compgen -W "model frr" -- "$cur")
      return 0
      ;;
    --frr-apply)
      mapfile -t COMPREPLY < <(compgen -W "commit step" -- "$cur")
      return 0
      ;;
    --trace)
      mapfile -t COMPREPLY < <(compgen -W "RouteMap= RibDynamicPrefixList=" -- "$cur")
      compopt -o nospace 2>/dev/null
      return 0
      ;;
  esac
  local words engine="--engine --frr-pathspace --frr-replace --frr-timeout --frr-apply"
  case $cmd in
    "") words="run state verify check graph frr diff tags test --help --help-all --version" ;;
    run) words="--format --names --state --numeric --diff --trace $engine --help" ;;
    state) words="--step --format --names --trace --help" ;;
    diff) words="--format --names --numeric --help" ;;
    tags) words="--format --help" ;;
    verify) words="--format --names --trace $engine --help" ;;
    frr) words="--step --every-step --werror --help" ;;
    check) words="--format --werror --help" ;;
    graph) words="--step --help" ;;
    test) words="--format --counts --map --routes --step --against $engine --help" ;;
  esac
  if [[ -z $cmd || $cur == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
    return 0
  fi
  local f
  while IFS= read -r f; do
    [[ -d $f || $f == *.yaml || $f == *.yml ]] && COMPREPLY+=("$f")
  done < <(compgen -f -- "$cur")
  [[ -z $cur || $cur == - ]] && COMPREPLY+=("-")
  compopt -o filenames 2>/dev/null
  return 0
}
complete -F _ribpolicy ribpolicy
