"""What the office samples say. Every person, firm, number and address is invented."""

# Texts: file name, date, metadata title or None, blocks. A block is "# heading", "- item", a plain paragraph, or
# a list of rows for a table.
TEXTS = {
    "scan0001.pdf": ("2026-03-14", None, [
        "# Facture d'eau froide",
        "Les Eaux du Plateau, 4 place du Lavoir, 00120 Valbrune",
        "Facture du 14/03/2026, référence client 00-4417-B",
        "Relevé du compteur : 412 m³, consommation de la période : 31 m³",
        [["Désignation", "Quantité", "Prix", "Montant"], ["Abonnement", "1", "18,20 €", "18,20 €"],
         ["Consommation", "31 m³", "2,04 €", "63,24 €"], ["Assainissement", "31 m³", "1,71 €", "53,01 €"]],
        "Total à payer : 134,45 € avant le 04/04/2026",
    ]),
    # The same first line, kind and date: this one takes the next free number.
    "scan0002.pdf": ("2026-03-14", None, [
        "# Facture d'eau froide",
        "Les Eaux du Plateau, 4 place du Lavoir, 00120 Valbrune",
        "Facture du 14/03/2026, référence client 00-4418-B, garage et jardin",
        "Relevé du compteur : 87 m³, consommation de la période : 6 m³",
        "Total à payer : 40,71 € avant le 04/04/2026",
    ]),
    "telechargement.pdf": ("2026-01-31", None, [
        "# Relevé de compte janvier 2026",
        "Banque du Canal, agence des Écluses",
        "Titulaire : Mme Odile Marceau, compte courant 0000 0417 22",
        "Période du 01/01/2026 au 31/01/2026",
        [["Date", "Opération", "Débit", "Crédit"], ["03/01", "Loyer", "640,00", ""],
         ["05/01", "Virement salaire", "", "1 912,40"], ["12/01", "Prélèvement électricité", "71,16", ""],
         ["20/01", "Carte, épicerie du marché", "48,90", ""]],
        "Solde au 31/01/2026 : 1 655,18 €",
    ]),
    "document(1).pdf": ("2026-04-30", None, [
        "# BULLETIN DE PAIE",
        "Menuiserie Tilleul et Fils, 12 rue des Copeaux, 00340 Ormeval",
        "Salarié : Bastien Roussel, menuisier poseur",
        "Période du 01/04/2026 au 30/04/2026",
        [["Rubrique", "Base", "Taux", "Montant"], ["Salaire de base", "151,67", "14,10", "2 138,55"],
         ["Heures supplémentaires", "6,00", "17,63", "105,78"], ["Cotisations salariales", "", "", "-493,80"]],
        "Net à payer : 1 750,53 €",
    ]),
    "20260218_101533.pdf": ("2026-02-18", "Contrat de location meublée", [
        "# Contrat de location",
        "Entre les soussignés : Mme Hélène Garance, propriétaire, et M. Yanis Perrault, locataire.",
        "## Article 1. Objet",
        "La propriétaire loue au locataire un studio meublé de 24 m² situé 7 quai des Tanneurs à Valbrune.",
        "## Article 2. Durée",
        "La location est consentie pour un an à compter du 1er mars 2026, reconductible.",
        "## Article 3. Loyer",
        "Le loyer mensuel est de 430 euros, charges comprises, payable le 5 de chaque mois.",
    ]),
    # Opens with a password only; tools/samples/make gives it one.
    "scan0003.pdf": ("2026-02-02", None, [
        "# Avis d'échéance de prêt",
        "Ce document est protégé par un mot de passe.",
    ]),
    "Document1.docx": ("2026-05-06", None, [
        "# Compte rendu du conseil de copropriété",
        "Réunion du 6 mai 2026, salle des fêtes de Valbrune",
        "Présents : Mme Garance, M. Perrault, Mme Lenoir, M. Diallo",
        "- Ravalement de la façade : trois devis reçus, vote reporté à juin",
        "- Local à vélos : achat de deux supports, budget de 380 euros",
        "- Éclairage du hall : remplacement par des ampoules basse consommation",
        "La séance est levée à 20 h 15.",
    ]),
    "Document (3).docx": ("2026-03-02", "Curriculum vitae de Nora Belcastel", [
        "# Nora Belcastel",
        "Infirmière diplômée d'État, huit ans d'expérience en gériatrie",
        "## Expérience",
        [["2021 - 2026", "Infirmière coordinatrice, résidence Les Amandiers"],
         ["2018 - 2021", "Infirmière, service de médecine, hôpital de Valbrune"]],
        "## Formation",
        "Diplôme d'État d'infirmière, institut de formation d'Ormeval, 2018",
    ]),
    "doc.docx": ("2026-01-19", None, [
        "# Lettre de résiliation d'assurance automobile",
        "Odile Marceau, 3 allée des Charmes, 00120 Valbrune",
        "Objet : résiliation du contrat n° 00-7781-A",
        "Madame, Monsieur,",
        "Je vous informe que j'ai vendu mon véhicule le 12 janvier 2026 et vous prie de mettre fin au contrat.",
        "Veuillez agréer mes salutations distinguées.",
    ]),
    "Sans nom 1.odt": ("2026-06-11", None, [
        "# Recette de la tarte aux mirabelles",
        "Pour six personnes. Préparation : 30 minutes. Cuisson : 40 minutes.",
        "- 800 g de mirabelles, 120 g de sucre",
        "- 250 g de farine, 125 g de beurre, un œuf",
        "Étaler la pâte, ranger les fruits dénoyautés, saupoudrer de sucre et cuire à four chaud.",
    ]),
    "Sans titre.odt": ("2026-04-08", None, [
        "# Attestation d'hébergement à titre gratuit",
        "Je soussignée Odile Marceau, demeurant 3 allée des Charmes à Valbrune,",
        "certifie héberger à mon domicile M. Lucien Marceau depuis le 1er avril 2026.",
        "Fait pour servir et valoir ce que de droit.",
    ]),
    "document.odt": ("2026-02-23", "Règlement intérieur du jardin partagé", [
        "# Jardin partagé des Tanneurs",
        "Chaque parcelle est cultivée sans pesticide. L'eau vient des récupérateurs.",
        "## Horaires",
        "Le jardin est ouvert de 8 h à la tombée de la nuit.",
    ]),
    "document (2).rtf": ("2026-05-20", None, [
        "# Procès-verbal de l'assemblée générale",
        "Association des Amis du Lavoir, le 20 mai 2026",
        "Le rapport moral est adopté à l'unanimité. Le trésorier présente les comptes : 1 240 euros en caisse.",
    ]),
    "Document2.doc": ("2026-03-18", None, [
        "# Convention de prêt de matériel",
        "Entre la commune de Valbrune et le comité des fêtes",
        "La commune prête douze tables et quarante bancs du 19 au 22 juin 2026.",
        "Le matériel est rendu propre, au plus tard le lundi à midi.",
    ]),
    "Copie de document.doc": ("2026-01-27", "Charte d'accueil des bénévoles", [
        "# Bienvenue à la bibliothèque",
        "Chaque bénévole tient une permanence par mois.",
    ]),
    "file (2).doc": ("2026-05-29", None, [
        "# Mode d'emploi de la chaudière",
        "Vérifier la pression une fois par mois : entre 1 et 1,5 bar.",
        [["Voyant", "Signification"], ["vert", "marche normale"], ["rouge", "appeler le dépanneur"]],
    ]),
}

# Spreadsheets: file name, date, metadata title or None, {sheet: rows}.
SHEETS = {
    "Classeur1.xlsx": ("2026-01-04", None, {
        "Budget": [["Budget du foyer 2026", "", ""], ["Poste", "Prévu", "Réel"], ["Loyer", 640, 640],
                   ["Alimentation", 380, 402.5], ["Électricité", 75, 71.16], ["Transports", 60, 52]],
        "Notes": [["Revoir l'abonnement de téléphone en mars"]],
    }),
    "Classeur2.xlsx": ("2026-03-27", None, {
        "Feuille1": [["Inventaire de la cave à vin", ""], ["Bouteille", "Nombre"], ["Rouge de Valbrune 2019", 6],
                     ["Blanc sec 2022", 3], ["Crémant", 4]],
    }),
    "Book1.xlsx": ("2026-05-02", "Suivi des heures du chantier", {
        "Mai": [["Salarié", "Lundi", "Mardi", "Mercredi"], ["Roussel", 7, 7.5, 7], ["Diallo", 7, 7, 8]],
    }),
    "Sans nom 2.ods": ("2026-02-14", None, {
        "Feuille1": [["Liste des invités du mariage", ""], ["Nom", "Personnes"], ["Famille Marceau", 4],
                     ["Nora et Bastien", 2], ["Mme Lenoir", 1]],
    }),
    "export.ods": ("2026-04-01", None, {
        "Relevés": [["Consommation de gaz par mois", ""], ["Mois", "m³"], ["Janvier", 142], ["Février", 131],
                    ["Mars", 96]],
    }),
    "spreadsheet.ods": ("2026-06-01", "Planning des gardes de juin", {
        "Juin": [["Semaine", "Garde"], ["23", "Mme Lenoir"], ["24", "M. Diallo"]],
    }),
    "Classeur3.xls": ("2026-02-20", None, {
        "Stock": [["Stock de la boutique de laine", ""], ["Référence", "Pelotes"], ["Mérinos écru", 24], ["Alpaga gris", 11]],
    }),
    "Feuille de calcul sans titre.xls": ("2026-04-09", None, {
        "Relevé": [["Températures de la serre", ""], ["Jour", "Maximum"], ["Lundi", 27.5], ["Mardi", 31]],
    }),
    "export (3).xls": ("2026-06-30", "Kilomètres du premier semestre", {
        "Trajets": [["Trajet", "km"], ["Valbrune - Ormeval", 34], ["Retour", 34]],
    }),
}

# Slides: file name, date, metadata title or None, [(title, [points])].
SLIDES = {
    "Présentation1.pptx": ("2026-03-10", None, [
        ("Les abeilles sauvages du quartier", ["Observations de 2024 à 2026", "Club nature de Valbrune"]),
        ("Dix-sept espèces comptées", ["Bourdon terrestre, osmie rousse", "Deux espèces rares près du canal"]),
        ("Comment les aider", ["Laisser des coins de friche", "Poser des hôtels à insectes"]),
    ]),
    "Diaporama.pptx": ("2026-05-15", "Bilan annuel de la bibliothèque", [
        ("Bilan 2025", ["4 310 prêts, 212 nouveaux lecteurs"]), ("Projets", ["Heure du conte le mercredi"]),
    ]),
    "presentation (2).pptx": ("2026-01-22", None, [
        ("Formation aux gestes de premiers secours", ["Journée du 22 janvier 2026"]),
        ("Protéger, alerter, secourir", ["Numéros d'urgence", "Position latérale de sécurité"]),
    ]),
    "Sans nom 3.odp": ("2026-04-17", None, [
        ("Voyage scolaire en Bretagne", ["Classe de CM2, du 8 au 12 juin 2026"]),
        ("Programme", ["Visite du phare", "Pêche à pied"]), ("À emporter", ["Bottes, ciré, pique-nique"]),
    ]),
    "slides.odp": ("2026-02-05", "Réaménagement de l'atelier de menuiserie", [
        ("Atelier", ["Plan actuel", "Plan proposé"]), ("Coûts", ["Aspiration : 2 400 euros"]),
    ]),
    "diaporama (1).odp": ("2026-06-19", None, [
        ("Histoire du lavoir de Valbrune", ["Construit en 1862, restauré en 1998"]),
        ("Sources", ["Archives de la commune"]),
    ]),
    "Présentation2.ppt": ("2026-03-24", None, [
        ("Trier ses déchets à Valbrune", ["Réunion publique du 24 mars 2026"]),
        ("Le bac jaune", ["Emballages, papiers, cartons"]),
    ]),
    "slides (2).ppt": ("2026-02-11", None, [
        ("Bien dormir à tout âge", ["Conférence du docteur Vautrin"]), ("Conseils", ["Pas d'écran après 22 heures"]),
    ]),
    "Diaporama 4.ppt": ("2026-05-06", "Projet de halle couverte", [
        ("Une halle pour le marché", ["Trois emplacements étudiés"]), ("Calendrier", ["Travaux au printemps 2027"]),
    ]),
}

# Plain texts in another charset than UTF-8, with the line ends of the system that writes them so.
CHARSETS = {
    "document.txt": ("windows-1252", """Devis pour la réfection de la toiture
Couverture Ardoise & Zinc, Ormeval
Établi le 9 février 2026 pour Mme Hélène Garance
Dépose des tuiles abîmées : 1 150 €
Pose d’un écran sous toiture : 2 380 €
Évacuation des gravats : 240 €
Total hors taxes : 3 770 €
Ce devis est valable trois mois.
"""),
    "nouveau document texte.txt": ("windows-1252", """Liste de courses du samedi
lait entier, beurre salé, œufs
pâtes, crème fraîche, gruyère râpé
café, thé à la menthe
piles pour la télécommande
"""),
    "export (1).txt": ("utf-16", """Discussion avec le vétérinaire
Rappel de vaccin du chat prévu en septembre
Croquettes sans céréales conseillées
Prix de la visite : 42 €
"""),
    "export.csv": ("windows-1252", """Date;Libellé;Débit;Crédit
03/01/2026;Loyer de janvier;640,00;
05/01/2026;Virement salaire;;1912,40
12/01/2026;Prélèvement électricité;71,16;
20/01/2026;Épicerie du marché;48,90;
"""),
}
