# Completion of ozrz for fish.

function __ozrz_formats
    ozrz --formats 2>/dev/null | tail -n +2 | string replace -r '^(\S+)\s+\S+\s+.*?\s{2,}(.*)$' '$1\t$2'
end

set -l bench '__fish_seen_subcommand_from bench'
set -l work 'not __fish_seen_subcommand_from bench'

complete -c ozrz -n __fish_is_first_arg -a bench -d 'Measure every format on files'

complete -c ozrz -n $work -s z -l compress -d 'Compress'
complete -c ozrz -n $work -s d -l decompress -d 'Decompress'
complete -c ozrz -n $work -s t -l test -d 'Decompress, check, and write nothing'
complete -c ozrz -n $work -s l -l list -d 'Show format, sizes, ratio and check'
complete -c ozrz -n $work -l recover -d 'Decompress what is intact of damaged files'
complete -c ozrz -n $work -s c -l stdout -d 'Write to standard output'
complete -c ozrz -n $work -s o -l output -r -F -d 'Write to this file'
complete -c ozrz -n $work -s f -l force -d 'Overwrite files, follow symbolic links'
complete -c ozrz -n $work -s k -l keep -d 'Keep the source'
complete -c ozrz -n $work -s N -l name -d 'Restore name and time that the compressed file tells'
complete -c ozrz -n $work -l rm -d 'Remove the source after success'
complete -c ozrz -n $work -l fast -d 'Faster and larger'
for level in (seq 9)
    complete -c ozrz -n $work -s $level -d 'Level, fast to small'
end
complete -c ozrz -n $work -s n -l no-name -d 'Store neither name nor time of the file'
complete -c ozrz -n $work -s D -l dictionary -r -F -d 'Dictionary'
complete -c ozrz -n $work -s v -l verbose -d 'A line for every file'
complete -c ozrz -n $work -s q -l quiet -d 'No warnings, no progress bar, no questions'
complete -c ozrz -n $work -l no-progress -d 'No progress bar'
complete -c ozrz -n $work -l formats -d 'Show the formats'
complete -c ozrz -n $work -s V -l version -d 'Show the versions of command and library'

complete -c ozrz -n $bench -l time -x -d 'Time for each measurement, in seconds'
complete -c ozrz -n $bench -l csv -d 'Comma-separated values'
complete -c ozrz -n $bench -l json -d 'JSON'

complete -c ozrz -s F -l format -x -a '(__ozrz_formats)' -d 'The format'
complete -c ozrz -s T -l threads -x -d 'Number of threads'
complete -c ozrz -s B -l block-size -x -a '64K 256K 1M 4M' -d 'Size of blocks'
complete -c ozrz -l block-checksum -d 'Write a checksum with every block'
complete -c ozrz -l no-check -d 'Write no checksum of the content'
complete -c ozrz -l content-size -d 'Write the size of the content'
complete -c ozrz -l crc -d 'Write CRC-32 checksums rather than Adler-32'
complete -c ozrz -l check-data -d 'Write checksums of the compressed data too'
complete -c ozrz -l dims -x -d 'Size of the volume, x fastest'
complete -c ozrz -l rate -x -d 'Keep so many bits per value'
complete -c ozrz -l precision -x -d 'Keep so many bit planes'
complete -c ozrz -l accuracy -x -d 'Keep the absolute error below this'
complete -c ozrz -l stats -d 'Tell ratio, bits per value and errors'
complete -c ozrz -l plot -r -F -d 'Draw the middle slice before and after'
complete -c ozrz -s h -l help -d 'Show help'
