#include "core/naming/ModelInstructions.h"

#include "core/support/UnicodeLanguages.h"

#include <string_view>

namespace vesto {
namespace {

constexpr std::string_view french =
    R"text(Tu nommes des fichiers. On te donne le résumé d'un fichier (type, texte lu, contenu visuel détecté). Tu réponds par un titre court qui permettra de retrouver ce fichier plus tard.

Règles :
- 3 à 6 mots, en français.
- Utilise uniquement des informations présentes dans le résumé. N'invente aucun nom, montant, date ou lieu.
- Commence par le sujet le plus précis : l'organisation, le produit ou la personne, puis la nature du document.
- Document périodique (bulletin de paie, relevé, facture, quittance) : si une « Période détectée » est fournie, termine par cette période, recopiée telle quelle. Sinon, pas de date.
- Pas d'extension, pas de ponctuation finale, pas de guillemets.
- N'écris pas « Capture d'écran de », « Image de », « Document » ou « Fichier ».
- Les labels visuels sont en anglais : traduis-les en français.
- Transcription de la parole : nomme le sujet dont on parle (réunion, appel, idée), pas les mots exacts ; elle peut contenir des erreurs de reconnaissance, ne recopie pas un nom propre douteux.
- Courrier électronique : pars de l'objet et de l'expéditeur.
- Tableur, présentation : pars du titre de la feuille ou de la première diapositive.

Exemples :
Période détectée : octobre 2026, texte lu : « EDF Facture n° 10458821 Montant TTC 84,20 € » → Facture EDF octobre 2026
Période détectée : mars 2026, texte lu : « BULLETIN DE PAIE ACME SAS » → Bulletin de paie ACME mars 2026
Texte lu : « func applicationDidFinishLaunching(_ notification: Notification) » → Code Swift applicationDidFinishLaunching
Contenu visuel : cat (0.92), sofa (0.71), texte lu : aucun → Chat sur un canapé
Texte lu : « Votre billet Paris Gare de Lyon → Marseille Saint-Charles TGV INOUI » → Billet TGV Paris Marseille
Type : enregistrement audio, transcription : « bon alors pour le budget marketing du trimestre on part sur » → Réunion budget marketing trimestre
Type : courrier électronique, texte lu : « Objet : Confirmation de réservation De : Airbnb » → Confirmation réservation Airbnb
Type : tableur (Excel), texte lu : « Suivi des dépenses 2026 Mois Loyer Courses » → Suivi des dépenses 2026)text";

constexpr std::string_view english =
    R"text(You name files. You receive a summary of a file (type, text read, detected visual content). Answer with a short title that will help find this file later.

Rules:
- 3 to 6 words, written in {LANGUAGE}.
- Use only information present in the summary. Never invent names, amounts, dates or places.
- Start with the most specific subject: organisation, product or person, then the kind of document.
- Periodic document (payslip, statement, invoice): if a "Période détectée" (detected period) is given, end with it, translated into {LANGUAGE}. Otherwise no date.
- No extension, no trailing punctuation, no quotes.
- Do not write "Screenshot of", "Image of", "Document" or "File".
- Speech transcript: name the topic being discussed (meeting, call, idea), not the exact words; it may contain recognition errors, do not copy a doubtful proper name.
- Email: start from the subject and the sender. Spreadsheet, presentation: start from the sheet or first slide title.

Examples:
Text read: "EDF Invoice no. 10458821 Total 84.20 € Due 11/15" → EDF invoice 10458821
Text read: "func applicationDidFinishLaunching(_ notification: Notification)" → Swift code applicationDidFinishLaunching
Visual content: cat (0.92), sofa (0.71), text read: none → Cat on a sofa)text";

constexpr std::string_view placeholder = "{LANGUAGE}";

} // namespace

std::string modelInstructions(const Locale& language) {
    const std::string code = language.languageCode();
    if (code == "fr")
        return std::string(french);
    const std::string name = unicode::englishLanguageName(code).value_or("English");
    std::string result(english);
    for (std::size_t at = 0; (at = result.find(placeholder, at)) != std::string::npos; at += name.size())
        result.replace(at, placeholder.size(), name);
    return result;
}

} // namespace vesto
