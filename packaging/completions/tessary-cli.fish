# fish completion for tessary-cli

# The words behind the program's name that are typed already and are no options.
function __tessary_cli_words
    set -l words (commandline -opc)
    set -e words[1]
    set -l previous ''
    for word in $words
        switch $previous
            case -d --directory -o --output -t --to --block --name --sort --rate --size --like --into
            case '*'
                string match -q -- '-?*' $word; or echo -- $word
        end
        set previous $word
    end
end

function __tessary_cli_command
    set -l words (__tessary_cli_words)
    set -q words[1]; and contains -- $words[1] $argv
end

function __tessary_cli_no_command
    set -l words (__tessary_cli_words)
    not set -q words[1]
end

# The image is still to come.
function __tessary_cli_wants_image
    set -l words (__tessary_cli_words)
    test (count $words) -eq 1; and not contains -- $words[1] find
end

function __tessary_cli_wants_name
    set -l words (__tessary_cli_words)
    test (count $words) -ge 2; and contains -- $words[1] ls stat cat export contents samples wav cp mv rm rename mkdir rmdir
end

function __tessary_cli_names
    set -l words (__tessary_cli_words)
    set -q words[2]; and tessary-cli --complete $words[2] (commandline -ct | string unescape) 2>/dev/null
end

complete -c tessary-cli -f
complete -c tessary-cli -n __tessary_cli_no_command -l version -d 'Show the version'
complete -c tessary-cli -s h -l help -d 'Show help'

complete -c tessary-cli -n __tessary_cli_no_command -a info -d 'The facts of the volume'
complete -c tessary-cli -n __tessary_cli_no_command -a ls -d 'The files and subfolders of a folder'
complete -c tessary-cli -n __tessary_cli_no_command -a stat -d 'Every field of one file'
complete -c tessary-cli -n __tessary_cli_no_command -a cat -d 'The bytes of a file to standard output'
complete -c tessary-cli -n __tessary_cli_no_command -a export -d 'Write files to this computer'
complete -c tessary-cli -n __tessary_cli_no_command -a contents -d 'What an Emulator IV bank contains'
complete -c tessary-cli -n __tessary_cli_no_command -a samples -d 'The sample list of an Emulator IV bank'
complete -c tessary-cli -n __tessary_cli_no_command -a wav -d 'Write samples as WAV files'
complete -c tessary-cli -n __tessary_cli_no_command -a import -d 'Bring files of this computer into the image'
complete -c tessary-cli -n __tessary_cli_no_command -a cp -d 'Copy files and folders, also into another image'
complete -c tessary-cli -n __tessary_cli_no_command -a mv -d 'Move files and folders, also into another image'
complete -c tessary-cli -n __tessary_cli_no_command -a rm -d 'Delete files'
complete -c tessary-cli -n __tessary_cli_no_command -a rename -d 'Rename a file or a folder'
complete -c tessary-cli -n __tessary_cli_no_command -a mkdir -d 'Create a folder'
complete -c tessary-cli -n __tessary_cli_no_command -a rmdir -d 'Delete a folder'
complete -c tessary-cli -n __tessary_cli_no_command -a find -d 'Look for names in any number of images'
complete -c tessary-cli -n __tessary_cli_no_command -a new -d 'Make an empty volume in a new image file'
complete -c tessary-cli -n __tessary_cli_no_command -a backup -d 'Copy the image file'
complete -c tessary-cli -n __tessary_cli_no_command -a check -d 'Look the volume over'
complete -c tessary-cli -n __tessary_cli_no_command -a recover -d 'Find or bring back lost folders'
complete -c tessary-cli -n __tessary_cli_no_command -a batch -d 'Run commands from standard input'

complete -c tessary-cli -n __tessary_cli_wants_image -a '(__fish_complete_suffix .hda)'
complete -c tessary-cli -n '__tessary_cli_command find' -a '(__fish_complete_suffix .hda)'
complete -c tessary-cli -n '__tessary_cli_command import backup' -F
complete -c tessary-cli -n __tessary_cli_wants_name -a '(__tessary_cli_names)'

complete -c tessary-cli -l exact -d 'Mount without the guards'
complete -c tessary-cli -s q -l quiet -d 'Leave out the sentences that say what was done'
complete -c tessary-cli -n 'not __tessary_cli_command cat' -l json -d 'Answer with one JSON object'
complete -c tessary-cli -n '__tessary_cli_command export wav import cp mv rm rename mkdir rmdir new backup recover batch' -s n -l dry-run -d 'Say what would be done, write nothing'
complete -c tessary-cli -n '__tessary_cli_command ls export wav import cp mv rmdir' -s R -l recursive -d 'With everything below'
complete -c tessary-cli -n '__tessary_cli_command ls' -s l -l long -d 'Exact bytes and places too'
complete -c tessary-cli -n '__tessary_cli_command ls' -l sort -x -a 'none name type format size' -d 'Order of the list'
complete -c tessary-cli -n '__tessary_cli_command ls' -l reverse -d 'From the last to the first'
complete -c tessary-cli -n '__tessary_cli_command ls' -l csv -d 'Comma-separated values'
complete -c tessary-cli -n '__tessary_cli_command export wav' -s d -l directory -x -a '(__fish_complete_directories)' -d 'Host folder to write into'
complete -c tessary-cli -n '__tessary_cli_command export wav' -s o -l output -r -F -d 'Host file to write'
complete -c tessary-cli -n '__tessary_cli_command export wav' -l no-clobber -d 'Replace no host file'
complete -c tessary-cli -n '__tessary_cli_command wav' -l rate -x -d 'Sample rate that the header tells, Hz'
complete -c tessary-cli -n '__tessary_cli_command import' -s t -l to -x -a '(__tessary_cli_names)' -d 'Folder in the volume'
complete -c tessary-cli -n '__tessary_cli_command import' -l name -x -d 'Name for the one file'
complete -c tessary-cli -n '__tessary_cli_command import cp mv' -l replace -d 'Replace files of the name'
complete -c tessary-cli -n '__tessary_cli_command import cp mv' -l skip-existing -d 'Leave out names that are there'
complete -c tessary-cli -n '__tessary_cli_command cp mv' -l into -x -a '(__fish_complete_suffix .hda)' -d 'Another image'
complete -c tessary-cli -n '__tessary_cli_command mkdir' -s p -l parents -d 'Missing parents too'
complete -c tessary-cli -n '__tessary_cli_command find' -l files -d 'Names of files'
complete -c tessary-cli -n '__tessary_cli_command find' -l folders -d 'Names of folders'
complete -c tessary-cli -n '__tessary_cli_command find' -l presets -d 'Names of presets'
complete -c tessary-cli -n '__tessary_cli_command find' -l samples -d 'Names of samples'
complete -c tessary-cli -n '__tessary_cli_command new' -l size -x -d 'Size of the image, as 512M'
complete -c tessary-cli -n '__tessary_cli_command new' -l like -x -a '(__fish_complete_suffix .hda)' -d 'Header and size of an image'
complete -c tessary-cli -n '__tessary_cli_command recover' -l block -x -d 'Block of the lost folder'
complete -c tessary-cli -n '__tessary_cli_command recover' -l to -x -a '(__tessary_cli_names)' -d 'Folder to put it in'
complete -c tessary-cli -n '__tessary_cli_command recover' -l name -x -d 'Name of the folder there'
complete -c tessary-cli -n '__tessary_cli_command batch' -l stop -d 'End at the first failure'
