-- Emprunts en retard de la bibliothèque
SELECT lecteur.nom, livre.titre, emprunt.retour_prevu
FROM emprunt
JOIN lecteur ON lecteur.id = emprunt.lecteur
JOIN livre ON livre.id = emprunt.livre
WHERE emprunt.rendu_le IS NULL AND emprunt.retour_prevu < CURRENT_DATE;
