#!/usr/bin/env python3
"""Calcul des intérêts d'un livret d'épargne par quinzaine."""

TAUX = 0.017


def interets(solde, quinzaines):
    return round(solde * TAUX * quinzaines / 24, 2)


if __name__ == "__main__":
    print(interets(4200, 24))
