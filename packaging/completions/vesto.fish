# Completion of vesto and vesto-desktop for fish.
function __vesto_verb
    set -l words (commandline -opc)
    test (count $words) -ge 2; and contains -- $words[2] $argv
end
function __vesto_action
    set -l words (commandline -opc)
    test (count $words) -ge 3; and test $words[2] = $argv[1]; and contains -- $words[3] $argv[2..]
end
function __vesto_at
    set -l words (commandline -opc)
    test (count $words) -eq $argv[1]
end
complete -c vesto-desktop -f
complete -c vesto-desktop -l hidden -d "N'ouvre aucune fenêtre"
complete -c vesto-desktop -l version -d "Affiche la version"
complete -c vesto-desktop -s h -l help -d "Affiche l'aide"

complete -c vesto -s h -l help -d "Affiche l'aide"
complete -c vesto -n "__vesto_at 1" -l version -d "Affiche la version"
complete -c vesto -n "__vesto_at 1" -f -a watch -d "Surveille les dossiers"
complete -c vesto -n "__vesto_at 1" -f -a folders -d "Gère les dossiers surveillés"
complete -c vesto -n "__vesto_at 1" -f -a pending -d "Noms qui attendent votre accord"
complete -c vesto -n "__vesto_at 1" -f -a accept -d "Donne le nom proposé"
complete -c vesto -n "__vesto_at 1" -f -a ignore -d "Refuse le nom proposé"
complete -c vesto -n "__vesto_at 1" -f -a batch -d "Noms pour les fichiers d'un dossier"
complete -c vesto -n "__vesto_at 1" -f -a history -d "Montre les renommages"
complete -c vesto -n "__vesto_at 1" -f -a undo -d "Rend le nom d'avant"
complete -c vesto -n "__vesto_at 1" -f -a name -d "Propose, sans rien toucher"
complete -c vesto -n "__vesto_at 1" -f -a rename -d "Propose et renomme"
complete -c vesto -n "__vesto_at 1" -f -a settings -d "Montre et change les réglages"
complete -c vesto -n "__vesto_at 1" -f -a doctor -d "Examine ce dont Vesto a besoin"
complete -c vesto -n "__vesto_at 1" -f -a read -d "Montre ce qui est lu"
complete -c vesto -n "__vesto_at 1" -f -a generic -d "Dit si un nom est générique"
complete -c vesto -n "__vesto_at 1" -f -a template -d "Vérifie un modèle de nom"
complete -c vesto -n "__vesto_at 1" -f -a model -d "Gère les modèles locaux"
complete -c vesto -n "__vesto_verb folders; and __vesto_at 2" -f -a "list add remove enable disable auto propose"
complete -c vesto -n "__vesto_verb settings; and __vesto_at 2" -f -a "get set"
complete -c vesto -n "__vesto_verb settings; and __vesto_at 3" -f -a "template genericOnly autoThreshold paused onboarded notifyAutomatic"
complete -c vesto -n "__vesto_verb model; and __vesto_at 2" -f -a "list add remove use on off test"
complete -c vesto -n "__vesto_verb pending accept ignore history doctor generic template" -f
complete -c vesto -n "__vesto_verb watch folders pending accept ignore batch history undo name rename doctor read generic template" -l json -d "Un objet JSON par ligne"
complete -c vesto -n "__vesto_action settings get set" -l json -d "Un objet JSON par ligne"
complete -c vesto -n "__vesto_action model list add remove use on off test" -l json -d "Un objet JSON par ligne"
complete -c vesto -n "__vesto_action model add" -l link -d "Un lien au lieu d'une copie"
complete -c vesto -n "__vesto_action model add test" -x -l locale -d "Langue du titre"
complete -c vesto -n "__vesto_action model add test" -s v -l verbose -d "Dit ce qui est en cours"
complete -c vesto -n "__vesto_verb watch batch name rename read" -s v -l verbose -d "Dit ce qui est en cours"
complete -c vesto -n "__vesto_verb name rename" -x -l template -d "Modèle de nom"
complete -c vesto -n "__vesto_verb watch name rename read template" -x -l locale -d "Langue des dates"
complete -c vesto -n "__vesto_verb name rename" -l generic-only -d "Seulement les noms qui ne disent rien"
complete -c vesto -n "__vesto_verb name rename" -l again -d "Aussi les fichiers déjà traités"
complete -c vesto -n "__vesto_verb batch rename" -x -l min-confidence -d "Confiance, de 0 à 1"
complete -c vesto -n "__vesto_verb batch" -l apply -d "Renomme les plus sûrs"
complete -c vesto -n "__vesto_verb batch" -x -l also -a "well-named no-title" -d "Aussi des fichiers laissés de côté"
complete -c vesto -n "__vesto_verb accept" -x -l title -d "Un autre titre"
complete -c vesto -n "__vesto_verb history" -x -l search -d "Texte d'un nom"
complete -c vesto -n "__vesto_verb history" -x -l limit -d "Combien"
complete -c vesto -n "__vesto_verb undo" -l last -d "Le dernier renommage"
complete -c vesto -n "__vesto_verb undo" -x -l batch -d "Tout ce qu'un lot a renommé"
complete -c vesto -n "__vesto_verb read" -l prompt -d "Texte donné au modèle"
